#include "item/cost.h"

#include <fmt/format.h>

#include "output/units.h"

namespace quorin_command {

Phrases costWords(const Record& record) {
  const std::string bytes = byteCount(static_cast<long long>(record.cost.bytes));
  Phrases phrases = {fmt::format("{} in {}", bytes, counted(record.cost.reads, "read"))};
  if (record.cost.requests > 0) {
    phrases.push_back(counted(record.cost.requests, "request"));
  }
  phrases.push_back(elapsedTime(record.elapsedMicroseconds));
  return listed(phrases, ",");
}

CostMeter::CostMeter(zu::md::common::strell::Strell* source, Record& record)
    : source_(source), record_(record), before_(now()), start_(std::chrono::steady_clock::now()) {}

CostMeter::~CostMeter() {
  const UrlCost after = now();
  record_.cost.bytes += after.bytes - before_.bytes;
  record_.cost.reads += after.reads - before_.reads;
  record_.cost.requests += after.requests - before_.requests;
  const auto elapsed = std::chrono::steady_clock::now() - start_;
  record_.elapsedMicroseconds += std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
}

UrlCost CostMeter::now() const { return source_ == nullptr ? UrlCost() : source_->cost(); }

}  // namespace quorin_command
