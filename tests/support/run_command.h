#pragma once

#include <string>
#include <vector>

namespace quorin_test {

/// What a program left behind that ran to its end.
struct CommandRun {
  int exitCode;        ///< 127 when there is no such program, -1 when it died of a signal
  std::string output;  ///< standard output
  std::string errors;  ///< standard error

  bool ok() const { return exitCode == 0; }
};

/// Runs a program and waits for it; its standard input is empty.
/// @param command the program, looked up in PATH, and its arguments
CommandRun runCommand(const std::vector<std::string>& command);

}  // namespace quorin_test
