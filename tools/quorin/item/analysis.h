#pragma once

#include <optional>
#include <string>

#include "command_line/options.h"
#include "item/record.h"
#include "quorin/analyze_result.h"
#include "quorin/analyzer.h"

namespace quorin_command {

/// Analyses items, one after the other, and follows their redirects as far as the options say; needs `watchSources`.
class Analysis {
 public:
  explicit Analysis(const Options& options);

  /// The record of one item. Whatever happens, there is one.
  Record of(const std::string& name);

  /// The source of the last item, where the analysis has left it; null when it was not opened. Good until the next
  /// item.
  zu::md::common::strell::Strell* source() const { return result_ ? result_->strell.get() : nullptr; }

 private:
  void analyze(Record& record);
  void analyzeOnce(Record& record);
  std::optional<ItemError> whyNotFollowed(const Record& record, const std::string& target) const;
  void follow(Record& record, const std::string& target);

  library::Analyzer analyzer_;
  boost::shared_ptr<library::AnalyzeResult> result_;
  zu::md::common::strell::OpenParams open_;
  const std::string headers_;  ///< as the user gave them
  const unsigned int hops_;
  const bool allowLocal_;
};

}  // namespace quorin_command
