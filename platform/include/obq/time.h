#pragma once

/// @file
/// Spans of time.

#include <cstdint>

/// A span of time: its whole seconds and what is left.
struct _obqOsalTime_struct {  // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the platform's name
  int64_t seconds;            ///< whole seconds
  int32_t microseconds;       ///< on top of them, 0 to 999999
};
