#pragma once

#include <optional>
#include <string>
#include <string_view>

/// @file
/// RFC 4648, section 4.

namespace quorin_command {

std::string base64(std::string_view bytes);

/// Nothing when the text is not whole and padded base64.
std::optional<std::string> fromBase64(std::string_view text);

}  // namespace quorin_command
