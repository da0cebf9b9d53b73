#pragma once

#include "command_line/options.h"

namespace quorin_command {

/// `quorin report`: one page about the records of a scan.
/// @return an ExitCode
int report(const Options& options);

}  // namespace quorin_command
