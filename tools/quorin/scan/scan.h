#pragma once

#include "command_line/options.h"

namespace quorin_command {

/// `quorin scan`: analyses every regular file in folders.
/// @return an ExitCode
int scan(const Options& options);

}  // namespace quorin_command
