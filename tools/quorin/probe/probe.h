#pragma once

#include "command_line/options.h"

namespace quorin_command {

/// `quorin probe`: tells what each item is.
/// @return an ExitCode
int probe(const Options& options);

}  // namespace quorin_command
