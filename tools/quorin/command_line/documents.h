#pragma once

#include <string>

/// @file
/// What is installed beside the command. All of it is made from the definitions that the command line is parsed by.

namespace quorin_command {

/// The manual page quorin(1), in the man macros.
std::string manualPage();

/// Completions for the interactive shells.
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

}  // namespace quorin_command
