#include "item/complaint.h"

#include <fmt/format.h>

#include <vector>

#include "item/cost.h"
#include "output/json_output.h"
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

void tellMoreAbout(const Record& record) {
  const std::vector<std::string> chain = chainOf(record);
  for (size_t i = 1; i < chain.size(); ++i) {
    complain(record.name, "redirects to " + chain[i]);
  }
  const std::string status = record.code.value_or(0) == 0 ? "" : fmt::format(" (status {})", *record.code);
  complain(record.name, fmt::format("{}{}: {}", kindName(record.kind), status, fmt::join(costWords(record), " ")));
}

}  // namespace quorin_command
