#pragma once

#include <cstdint>

/// A span of time: `seconds` whole seconds plus `microseconds` (0 to 999999).
struct _obqOsalTime_struct {  // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the platform's name
  int64_t seconds;
  int32_t microseconds;
};
