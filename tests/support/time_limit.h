#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

#include "support/process_resources.h"

/// @file
/// Whether something ended when its time limit came.

namespace quorin_test {

/// A call ends before its limit and this have passed, on a busy machine too; longer under qemu and memcheck. Less than
/// any limit that holds where none is given, so that one that is not heeded is noticed.
inline const std::chrono::milliseconds limitTolerance(
    runsNatively() && std::getenv("QUORIN_TESTS_RUN_SLOWLY") == nullptr ? 3000 : 8000);
/// libcurl counts in whole milliseconds, and may be as much too early.
constexpr std::chrono::milliseconds limitGranularity(2);

inline void expectAtLimit(std::chrono::steady_clock::duration took, std::chrono::milliseconds limit) {
  using std::chrono::milliseconds;
  EXPECT_GE(std::chrono::duration_cast<milliseconds>(took).count(), (limit - limitGranularity).count());
  EXPECT_LT(std::chrono::duration_cast<milliseconds>(took).count(), (limit + limitTolerance).count());
}

}  // namespace quorin_test
