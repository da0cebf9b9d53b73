#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace quorin_test {

/// Ends the process when something that holds for every input does not hold; fuzzers keep the input.
inline void require(bool holds, std::string_view what) {
  if (!holds) {
    std::fprintf(stderr, "does not hold: %.*s\n", static_cast<int>(what.size()), what.data());
    std::abort();
  }
}

/// The same of two texts, which are shown.
inline void requireSame(const std::string& one, const std::string& other, std::string_view what) {
  if (one != other) {
    std::fprintf(stderr, "---- one\n%s\n---- the other\n%s\n", one.c_str(), other.c_str());
    require(false, what);
  }
}

}  // namespace quorin_test
