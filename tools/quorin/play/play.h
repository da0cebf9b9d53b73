#pragma once

#include "command_line/options.h"

namespace quorin_command {

/// `quorin play`: writes the audio from the play position on to standard output.
/// @return an ExitCode
int play(const Options& options);

}  // namespace quorin_command
