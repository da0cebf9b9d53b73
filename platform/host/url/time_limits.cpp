#include "url/time_limits.h"

#include <array>
#include <cstdint>
#include <string_view>

#include "text/ascii.h"

namespace md::host {

namespace {

using std::chrono::milliseconds;

/// Cuts off and returns what comes before `separator`, or everything when there is none.
std::string_view takeUntil(std::string_view& text, char separator) {
  const size_t end = text.find(separator);
  const std::string_view head = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return head;
}

/// Digits with at most one decimal point among them. Written by hand because strtod obeys the locale and takes "nan"
/// and "0x".
bool parseSeconds(std::string_view text, milliseconds& span) {
  int64_t whole = 0;
  int64_t thousandths = 0;
  int64_t thousandthsOfDigit = 0;  // what the next digit of the fraction is worth; 0 before the decimal point
  bool inFraction = false;
  bool digits = false;
  for (const char c : text) {
    if (c == '.' && !inFraction) {
      inFraction = true;
      thousandthsOfDigit = 100;
      continue;
    }
    if (!isDigit(c)) {
      return false;
    }
    digits = true;
    const int digit = c - '0';
    if (!inFraction) {
      whole = whole * 10 + digit;
      if (whole > longestTimeLimit.count()) {
        return false;
      }
    } else if (thousandthsOfDigit > 0) {
      thousandths += digit * thousandthsOfDigit;
      thousandthsOfDigit /= 10;
    } else if (digit > 0 && thousandthsOfDigit == 0) {
      ++thousandths;
      thousandthsOfDigit = -1;  // rounded up, once
    }
  }
  span = milliseconds(whole * 1000 + thousandths);
  return digits && span <= longestTimeLimit;
}

}  // namespace

bool parseTimeLimits(const char* text, TimeLimits& limits) {
  struct Key {
    std::string_view name;
    milliseconds TimeLimits::*limit;
    bool seen;
  };
  std::array<Key, 3> keys = {{{"connect", &TimeLimits::connect, false},
                              {"stall", &TimeLimits::stall, false},
                              {"total", &TimeLimits::total, false}}};
  TimeLimits parsed;
  std::string_view rest = text == nullptr ? std::string_view() : std::string_view(text);
  while (!rest.empty()) {
    std::string_view seconds = takeUntil(rest, ';');
    const bool hasValue = seconds.find('=') != std::string_view::npos;
    const std::string_view name = takeUntil(seconds, '=');
    Key* match = nullptr;
    for (Key& key : keys) {
      match = key.name == name ? &key : match;
    }
    if (!hasValue || match == nullptr || match->seen || !parseSeconds(seconds, parsed.*(match->limit))) {
      return false;
    }
    match->seen = true;
  }
  limits = parsed;
  return true;
}

}  // namespace md::host
