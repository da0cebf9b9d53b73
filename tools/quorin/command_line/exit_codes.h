#pragma once

namespace quorin_command {

/// What the command's exit status says.
enum ExitCode : int {
  EXIT_ALL_RECOGNISED = 0,
  EXIT_SOME_FAILED = 1,  ///< some items could not be opened or were not recognised
  EXIT_USAGE = 2,
  EXIT_ALL_FAILED = 3,  ///< no item could be opened
  EXIT_OUTPUT = 4,      ///< standard output cannot be written, or an internal error
  EXIT_INTERRUPTED = 130
};

}  // namespace quorin_command
