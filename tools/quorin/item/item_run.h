#pragma once

#include <functional>

#include "command_line/exit_codes.h"
#include "command_line/options.h"
#include "item/analysis.h"
#include "item/record.h"

namespace quorin_command {

/// What a command does with each item, besides having it analysed.
struct ItemWork {
  /// Goes on with an analysed item. What keeps it from that is put into the record.
  std::function<void(Analysis& analysis, Record& record)> work;
  /// Writes what there is to tell of the item.
  /// @return false when it cannot be written; then the run ends
  std::function<bool(const Record& record)> output;
};

/// Takes the items of a command line one after the other, says what is wrong with which, and goes on with the next.
ExitCode runItems(const Options& options, const ItemWork& work);

}  // namespace quorin_command
