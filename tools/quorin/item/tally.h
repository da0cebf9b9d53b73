#pragma once

#include "command_line/exit_codes.h"
#include "item/record.h"

namespace quorin_command {

/// How the items of one run went.
class Tally {
 public:
  void count(const Record& record);

  /// What the exit status says of them.
  ExitCode exitCode() const;

 private:
  unsigned long long items_ = 0;
  unsigned long long unknown_ = 0;
  unsigned long long failed_ = 0;
};

}  // namespace quorin_command
