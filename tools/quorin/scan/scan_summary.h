#pragma once

#include <map>
#include <string>

#include "command_line/exit_codes.h"
#include "item/record.h"

namespace quorin_command {

/// What a scan has come across.
class ScanSummary {
 public:
  void count(const Record& record);

  unsigned long long items() const { return items_; }
  unsigned long long failed() const { return failed_; }

  /// What the exit status says. Files that are not recognised are no failure: folders hold all kinds.
  ExitCode exitCode() const;

  /// Lines for people: counts by kind and format, failures by cause, rate and cost.
  /// @param unchanged files that were left out, because an earlier scan has told them
  std::string text(double seconds, unsigned long long unchanged) const;

 private:
  unsigned long long items_ = 0;
  unsigned long long failed_ = 0;
  unsigned long long bytes_ = 0;
  std::map<Kind, unsigned long long> kinds_;
  std::map<std::string, unsigned long long> formats_;
  std::map<std::string, unsigned long long> causes_;
};

}  // namespace quorin_command
