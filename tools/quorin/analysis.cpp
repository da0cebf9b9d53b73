#include "analysis.h"

#include <chrono>
#include <exception>
#include <new>
#include <utility>

#include "item.h"
#include "source_watch.h"

namespace quorin_command {

namespace {

/// Whether an opened stream has no bytes at all. Its first byte is in the cache by then.
bool isEmpty(zu::md::common::strell::Strell* strell) {
  unsigned char* data = nullptr;
  return strell != nullptr && strell->setDataCacheOffset(0) == 0 && strell->readDataCache(1, data) != 0;
}

ItemError whyUnknown(zu::md::common::strell::Strell* strell) {
  if (sighting().readFailure != 0) {
    return readError(sighting().readFailure);
  }
  return isEmpty(strell) ? emptyItem() : notRecognised();
}

}  // namespace

Analysis::Analysis(library::Analyzer::Mode_t mode, zu::md::common::strell::OpenParams how)
    : analyzer_(mode), how_(std::move(how)) {}

Record Analysis::of(const std::string& name) {
  Record record;
  record.name = name;
  record.uri = uriOf(name);
  if (name.find('\0') != std::string::npos) {
    record.error = nulInName();
    return record;
  }
  const auto start = std::chrono::steady_clock::now();
  try {
    analyze(record);
  } catch (const std::bad_alloc&) {
    record.error = internalError("out of memory");
  } catch (const std::exception& exception) {
    record.error = internalError(exception.what());
  }
  const auto elapsed = std::chrono::steady_clock::now() - start;
  record.elapsedMicroseconds = std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
  return record;
}

void Analysis::analyze(Record& record) {
  forgetSightings();
  how_.uri = record.uri;
  boost::shared_ptr<library::AnalyzeResult> result;
  const int status = analyzer_.analyze(how_, result);
  record.code = status;
  describe(result.get(), record);
  if (record.kind == Kind::Unknown) {
    record.error = whyUnknown(result->strell.get());
  } else if (record.kind == Kind::Error) {
    record.error = openError(record.uri, status, sighting().openCode);
  }
  if (result && result->strell) {
    record.cost = result->strell->cost();
  }
}

}  // namespace quorin_command
