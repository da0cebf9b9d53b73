#pragma once

#include <string>

#include "command_line/options.h"

namespace quorin_command {

/// Tells the library and its platform what the options say about them: media, log lines; and has sources watched.
/// @return what is wrong, if anything
std::string setUpLibrary(const Options& options);

}  // namespace quorin_command
