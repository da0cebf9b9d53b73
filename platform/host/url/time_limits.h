#pragma once

#include <chrono>

/// @file
/// Option text 4 of `mdch_OpenUrl`: how long a source may take.

namespace md::host {

/// Limits of one opened source; zero means that there is no such limit.
struct TimeLimits {
  std::chrono::milliseconds connect{10000};  ///< until the connection stands, TLS included
  std::chrono::milliseconds stall{15000};    ///< without a single byte arriving
  std::chrono::milliseconds total{0};        ///< from opening the source to its last byte
};

/// Longest limit that can be asked for. Eleven days are more than any item plays, and in milliseconds they fit the
/// 32-bit `int` of poll() and the 32-bit `long` of libcurl.
constexpr std::chrono::seconds longestTimeLimit(1000000);

/// Parses "connect=SECONDS;stall=SECONDS;total=SECONDS". Each part may be missing, the order is free, a ";" may end the
/// text. SECONDS is a decimal number such as "2", "1.5" or ".25", in every locale; a fraction of a millisecond counts
/// as a whole one, so that only a real zero means "no limit".
/// @param text null or empty for the defaults
/// @param limits receives the limits, defaults where a part is missing; untouched on failure
/// @return false for anything that is not understood: an unknown or repeated key, blanks, a missing or negative number,
///         an exponent, a number above `longestTimeLimit`
bool parseTimeLimits(const char* text, TimeLimits& limits);

}  // namespace md::host
