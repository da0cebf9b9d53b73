#include "framework/ascii_case.h"

#include <algorithm>

namespace zu::md::common::quorin {

namespace {

char lowerCased(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool equalIgnoringCase(char a, char b) { return lowerCased(a) == lowerCased(b); }

}  // namespace

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), text.begin(), equalIgnoringCase);
}

std::string_view::size_type findIgnoringCase(std::string_view text, std::string_view part,
                                             std::string_view::size_type from) {
  if (from > text.size()) {
    return std::string_view::npos;
  }
  text.remove_prefix(from);
  const auto found = std::search(text.begin(), text.end(), part.begin(), part.end(), equalIgnoringCase);
  if (found == text.end() && !part.empty()) {
    return std::string_view::npos;
  }
  return from + static_cast<std::string_view::size_type>(found - text.begin());
}

}  // namespace zu::md::common::quorin
