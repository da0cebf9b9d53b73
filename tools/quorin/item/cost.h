#pragma once

#include <chrono>

#include "item/record.h"
#include "output/matter.h"
#include "strell/strell.h"

namespace quorin_command {

/// What the look at an item has cost, in words.
Phrases costWords(const Record& record);

/// Adds to a record what is read of its source while this lives.
class CostMeter {
 public:
  /// @param source may be null
  CostMeter(zu::md::common::strell::Strell* source, Record& record);
  ~CostMeter();
  CostMeter(const CostMeter&) = delete;
  CostMeter& operator=(const CostMeter&) = delete;

 private:
  UrlCost now() const;

  zu::md::common::strell::Strell* source_;
  Record& record_;
  UrlCost before_;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace quorin_command
