#include "item/complaint.h"

#include "output/talk.h"

namespace quorin_command {

namespace {

/// Nothing when there were no redirects.
std::string wayTo(const Record& record) {
  std::string way;
  for (const std::string& uri : chainOf(record)) {
    way += (way.empty() ? "; redirects: " : " -> ") + uri;
  }
  return way;
}

}  // namespace

void complainAbout(const Record& record) { complain(record.name, record.error->message + wayTo(record)); }

}  // namespace quorin_command
