#pragma once

#include <CLI/CLI.hpp>

/// @file
/// What the values of options must look like. Each check says in one line what is wrong with a value.

namespace quorin_command {

/// Seconds above 0, as a decimal number.
extern const CLI::Validator isTimeLimit;

/// The path of something that can be read.
extern const CLI::Validator isReadable;

/// The same, or "-".
extern const CLI::Validator isReadableOrStandardInput;

/// The path of a folder.
extern const CLI::Validator isFolder;

/// A text that may travel in a request: a line end in it would begin a header line of its own.
extern const CLI::Validator isOneLine;

/// "NAME: VALUE", with a name as RFC 9110, section 5.6.2 has it.
extern const CLI::Validator isHeader;

/// "UUID=DIR".
extern const CLI::Validator isMedium;

}  // namespace quorin_command
