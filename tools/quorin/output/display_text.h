#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// @file
/// Names of strangers on a terminal: what cannot do harm there, how wide it is, and how to shorten it.

namespace quorin_command {

/// `name` as it may be shown: without credentials (credentials.h), and every character that does not simply stand there
/// (controls, line ends, characters that turn the writing direction, invisible ones) and every byte that is no UTF-8 is
/// written as an escape.
/// @param utf8 whether the reader's terminal takes UTF-8; otherwise every character beyond ASCII is escaped too
std::string displayable(std::string_view name, bool utf8);

/// Columns that a text made by `displayable` takes; East Asian wide characters take two, combining ones none.
size_t displayWidth(std::string_view text);

/// Takes out the middle of a text so that it fits `width` columns.
/// @param utf8 whether the place may be marked by "…", else by "..."
std::string cutMiddle(std::string_view text, size_t width, bool utf8);

/// The text with blanks behind it up to `width` columns.
std::string padded(std::string_view text, size_t width);

/// The same with the blanks in front.
std::string paddedLeft(std::string_view text, size_t width);

}  // namespace quorin_command
