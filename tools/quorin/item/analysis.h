#pragma once

#include <optional>
#include <string>

#include "command_line/options.h"
#include "item/record.h"
#include "quorin/analyze_result.h"
#include "quorin/analyzer.h"

namespace quorin_command {

/// A record of which nothing is known but the name; and the error, when nothing can have such a name.
Record begun(const std::string& name);

/// Analyses items, one after the other, and follows their redirects as far as the options say; needs `watchSources`.
class Analysis {
 public:
  explicit Analysis(const Options& options);

  /// The record of one item. Whatever happens, there is one.
  Record of(const std::string& name);

  /// Looks at what a record names, or at what the redirects so far have led to; so many records may be under way, and
  /// others may go on with them. One with an error stays as it is.
  /// @return whether there is a redirect to follow; then the record's URI is where it leads
  bool step(Record& record);

  /// Closes the source of the last item.
  void close() { result_.reset(); }

  /// The source of the last item, where the analysis has left it; null when it was not opened. Good until the next
  /// item.
  zu::md::common::strell::Strell* source() const { return result_ ? result_->strell.get() : nullptr; }

 private:
  bool analyze(Record& record);
  void analyzeOnce(Record& record);
  std::optional<ItemError> whyNotFollowed(const Record& record, const std::string& target) const;

  library::Analyzer analyzer_;
  boost::shared_ptr<library::AnalyzeResult> result_;
  zu::md::common::strell::OpenParams open_;
  const std::string headers_;  ///< as the user gave them
  const unsigned int hops_;
  const bool allowLocal_;
};

}  // namespace quorin_command
