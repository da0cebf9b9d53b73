#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// @file
/// Characters of URIs. Locale-independent, unlike <cctype>: in a Turkish locale the "I" of "FILE" has another lower
/// case.

namespace md::host {

inline char lowerCased(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

inline std::string lowerCased(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return lowerCased(c); });
  return lower;
}

inline bool isLetter(char c) { return lowerCased(c) >= 'a' && lowerCased(c) <= 'z'; }

inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Value of a hexadecimal digit; negative for any other character.
inline int hexValue(char c) {
  if (isDigit(c)) {
    return c - '0';
  }
  const char lower = lowerCased(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// @param prefix in lower case
inline bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return lowerCased(text.substr(0, prefix.size())) == prefix;
}

}  // namespace md::host
