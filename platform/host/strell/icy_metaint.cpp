#include "strell/icy_metaint.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace zu::md::common::strell {

namespace {

constexpr std::string_view fieldName = "icy-metaint";
constexpr std::string_view blanks = " \t";
constexpr std::string_view blanksAndLineEnds = " \t\r\n";

/// Without the locale, which must not change what a header means.
char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool beginsWithFieldName(std::string_view line) {
  if (line.size() < fieldName.size()) {
    return false;
  }
  for (size_t i = 0; i < fieldName.size(); ++i) {
    if (lowerCase(line[i]) != fieldName[i]) {
      return false;
    }
  }
  return true;
}

std::string_view withoutLeading(std::string_view text, std::string_view unwanted) {
  text.remove_prefix(std::min(text.find_first_not_of(unwanted), text.size()));
  return text;
}

/// The number that `text` is, 0 when it is none or too large.
unsigned int number(std::string_view text) {
  uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') {
      return 0;
    }
    value = value * 10 + static_cast<unsigned int>(c - '0');
    if (value > maxIcyMetaint) {
      return 0;
    }
  }
  return static_cast<unsigned int>(value);
}

unsigned int metaintOfLine(std::string_view line) {
  if (!beginsWithFieldName(line)) {
    return 0;
  }
  line = withoutLeading(line.substr(fieldName.size()), blanks);
  if (line.empty() || line.front() != ':') {
    return 0;
  }
  line = withoutLeading(line.substr(1), blanks);
  return number(line.substr(0, line.find_last_not_of(blanksAndLineEnds) + 1));
}

}  // namespace

unsigned int icyMetaint(const std::deque<std::string>& headerLines) {
  unsigned int metaint = 0;
  for (const std::string& line : headerLines) {
    const unsigned int found = metaintOfLine(line);
    metaint = found != 0 ? found : metaint;
  }
  return metaint;
}

}  // namespace zu::md::common::strell
