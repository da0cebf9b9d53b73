#pragma once

#include <string_view>

/// @file
/// Comparing texts of protocols without regard to case. Only the letters A to Z have a case here, whatever the locale
/// of the program, and a NUL is a byte like any other.

namespace zu::md::common::quorin {

/// Whether `text` begins with `prefix`.
bool startsWithIgnoringCase(std::string_view text, std::string_view prefix);

/// Where `part` first occurs in `text` at or behind `from`; npos when it does not.
std::string_view::size_type findIgnoringCase(std::string_view text, std::string_view part,
                                             std::string_view::size_type from = 0);

}  // namespace zu::md::common::quorin
