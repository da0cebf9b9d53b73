#pragma once

#include "command_line/options.h"

namespace quorin_command {

/// `quorin cover`: copies embedded pictures into files.
/// @return an ExitCode
int cover(const Options& options);

}  // namespace quorin_command
