#include "item/analysis.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <new>
#include <utility>

#include "item/item.h"
#include "item/redirect_target.h"
#include "item/source_watch.h"

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

/// Whether an item lies on the server that the user named: what was meant for that one is not told to others.
bool isAmongFriends(const Record& record) {
  return record.via.empty() || haveSameOrigin(record.via.front(), record.uri);
}

/// Which option text of the URL layer holds extra header lines.
constexpr size_t headerLines = 3;

}  // namespace

Analysis::Analysis(const Options& options)
    : analyzer_(options.mode),
      open_(options.open),
      headers_(open_.options[headerLines]),
      hops_(options.follow),
      allowLocal_(options.allowLocal) {}

Record Analysis::of(const std::string& name) {
  Record record;
  record.name = name;
  record.uri = uriOf(name);
  result_.reset();
  if (name.find('\0') != std::string::npos) {
    record.error = nulInName();
    return record;
  }
  const auto start = std::chrono::steady_clock::now();
  try {
    analyze(record);
  } catch (const std::bad_alloc&) {
    fail(record, internalError("out of memory"));
  } catch (const std::exception& exception) {
    fail(record, internalError(exception.what()));
  }
  const auto elapsed = std::chrono::steady_clock::now() - start;
  record.elapsedMicroseconds = std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
  return record;
}

void Analysis::analyze(Record& record) {
  analyzeOnce(record);
  while (record.kind == Kind::Redirect && hops_ > 0) {
    const std::string target = resolved(record.uri, record.redirect->urls.front());
    if (const auto refusal = whyNotFollowed(record, target)) {
      fail(record, *refusal);
      return;
    }
    follow(record, target);
  }
}

void Analysis::analyzeOnce(Record& record) {
  result_.reset();
  forgetSightings();
  open_.uri = record.uri;
  open_.options[headerLines] = isAmongFriends(record) ? headers_ : withoutCredentials(headers_);
  const int status = analyzer_.analyze(open_, result_);
  record.code = status;
  describe(result_.get(), record);
  if (record.kind == Kind::Unknown) {
    record.error = whyUnknown(source());
  } else if (record.kind == Kind::Error) {
    record.error = openError(record.uri, status, sighting().openCode);
  }
  add(record.cost, sighting().closed);
  if (source() != nullptr) {
    add(record.cost, source()->cost());
  }
}

std::optional<ItemError> Analysis::whyNotFollowed(const Record& record, const std::string& target) const {
  const bool wasSeen = std::find(record.via.begin(), record.via.end(), target) != record.via.end();
  if (wasSeen || target == record.uri) {
    return redirectLoop();
  }
  if (isLocal(target) && !isLocal(record.uri) && !allowLocal_) {
    return localTarget();
  }
  return record.via.size() < hops_ ? std::nullopt : std::optional<ItemError>(tooManyRedirects(hops_));
}

/// Goes on with the target in place of the item. What it costs adds up.
void Analysis::follow(Record& record, const std::string& target) {
  Record next;
  next.name = std::move(record.name);
  next.via = std::move(record.via);
  next.via.push_back(std::move(record.uri));
  next.uri = target;
  next.cost = record.cost;
  record = std::move(next);
  analyzeOnce(record);
}

}  // namespace quorin_command
