#include "output/base64.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace quorin_command {

namespace {

constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Bytes that go together; they make one digit more than there are bytes.
constexpr size_t group = 3;

}  // namespace

std::string base64(std::string_view bytes) {
  std::string text;
  for (size_t at = 0; at < bytes.size(); at += group) {
    uint32_t bits = 0;
    for (size_t i = 0; i < group; ++i) {
      bits = bits << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    const size_t given = std::min(group, bytes.size() - at);
    for (size_t i = 0; i <= group; ++i) {
      text += i <= given ? digits[bits >> (18 - 6 * i) & 0x3f] : '=';
    }
  }
  return text;
}

std::optional<std::string> fromBase64(std::string_view text) {
  const size_t padding = text.size() - (text.find_last_not_of('=') + 1);
  if (text.size() % (group + 1) != 0 || padding >= group) {
    return std::nullopt;
  }
  std::string bytes;
  uint32_t bits = 0;
  for (size_t at = 0; at < text.size(); ++at) {
    const bool isPadding = at >= text.size() - padding;
    const size_t digit = isPadding ? 0 : digits.find(text[at]);
    if (digit == std::string_view::npos) {
      return std::nullopt;
    }
    bits = bits << 6 | static_cast<uint32_t>(digit);
    if (at % (group + 1) == group) {
      bytes +=
          {static_cast<char>(bits >> 16 & 0xff), static_cast<char>(bits >> 8 & 0xff), static_cast<char>(bits & 0xff)};
    }
  }
  bytes.resize(bytes.size() - padding);
  return bytes;
}

}  // namespace quorin_command
