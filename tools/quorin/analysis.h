#pragma once

#include <string>

#include "quorin/analyzer.h"
#include "record.h"

namespace quorin_command {

/// Analyses items, one after the other; needs `watchSources`.
class Analysis {
 public:
  /// @param how the options with which items are opened; its URI means nothing
  Analysis(library::Analyzer::Mode_t mode, zu::md::common::strell::OpenParams how);

  /// The record of one item. Whatever happens, there is one.
  Record of(const std::string& name);

 private:
  void analyze(Record& record);

  library::Analyzer analyzer_;
  zu::md::common::strell::OpenParams how_;
};

}  // namespace quorin_command
