#include "item/analysis.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <new>
#include <utility>

#include "item/item.h"
#include "item/item_list.h"
#include "item/redirect_target.h"
#include "item/source_watch.h"
#include "output/credentials.h"

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

/// The begin of a name that is too long to be told, cut between two characters. The "@" that tells that something is a
/// secret may be far behind, even in what was not read.
std::string shortened(const std::string& whole) {
  constexpr size_t shown = 200;
  const std::string name = credentialsHidden(whole + '@');
  size_t end = std::min(shown, name.size());
  while (end > 0 && end < name.size() && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80U) {
    --end;
  }
  return name.substr(0, end) + "...";
}

/// Goes on with the target in place of the item. What it costs adds up.
void follow(Record& record, const std::string& target) {
  Record next;
  next.uri = target;
  next.via = record.via;
  next.via.push_back(record.uri);
  next.name = std::move(record.name);
  next.file = record.file;
  next.cost = record.cost;
  next.elapsedMicroseconds = record.elapsedMicroseconds;
  record = std::move(next);
}

/// Which option text of the URL layer holds extra header lines.
constexpr size_t headerLines = 3;

}  // namespace

Record begun(const std::string& name) {
  Record record;
  const bool isTooLong = name.size() > longestName;
  record.name = isTooLong ? shortened(name) : name;
  record.uri = isTooLong ? record.name : uriOf(name);
  if (isTooLong) {
    record.error = nameTooLong(longestName);
  } else if (name.find('\0') != std::string::npos) {
    record.error = nulInName();
  }
  return record;
}

Analysis::Analysis(const Options& options)
    : analyzer_(options.mode),
      open_(options.open),
      headers_(open_.options[headerLines]),
      hops_(options.follow),
      allowLocal_(options.allowLocal) {}

Record Analysis::of(const std::string& name) {
  Record record = begun(name);
  while (step(record)) {
  }
  return record;
}

bool Analysis::step(Record& record) {
  close();
  if (record.error) {
    return false;
  }
  bool goesOn = false;
  const auto start = std::chrono::steady_clock::now();
  try {
    goesOn = analyze(record);
  } catch (const std::bad_alloc&) {
    fail(record, internalError("out of memory"));
  } catch (const std::exception& exception) {
    fail(record, internalError(exception.what()));
  }
  const auto elapsed = std::chrono::steady_clock::now() - start;
  record.elapsedMicroseconds += std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
  return goesOn;
}

bool Analysis::analyze(Record& record) {
  analyzeOnce(record);
  if (record.kind != Kind::Redirect || hops_ == 0) {
    return false;
  }
  const std::string target = resolved(record.uri, record.redirect->urls.front());
  if (const auto refusal = whyNotFollowed(record, target)) {
    fail(record, *refusal);
    return false;
  }
  follow(record, target);
  return true;
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

}  // namespace quorin_command
