#pragma once

#include <gtest/gtest.h>

#include <chrono>

/// @file
/// Whether something ended when its time limit came.

namespace quorin_test {

/// A call ends before its limit and this have passed, on a busy machine under qemu too. Less than any limit that holds
/// where none is given, so that one that is not heeded is noticed.
constexpr std::chrono::milliseconds limitTolerance(8000);
/// libcurl counts in whole milliseconds, and may be as much too early.
constexpr std::chrono::milliseconds limitGranularity(2);

inline void expectAtLimit(std::chrono::steady_clock::duration took, std::chrono::milliseconds limit) {
  using std::chrono::milliseconds;
  EXPECT_GE(std::chrono::duration_cast<milliseconds>(took).count(), (limit - limitGranularity).count());
  EXPECT_LT(std::chrono::duration_cast<milliseconds>(took).count(), (limit + limitTolerance).count());
}

}  // namespace quorin_test
