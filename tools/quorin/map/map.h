#pragma once

#include "command_line/options.h"

namespace quorin_command {

/// `quorin map`: shows what lies where in an item, and what was read of it.
/// @return an ExitCode
int map(const Options& options);

}  // namespace quorin_command
