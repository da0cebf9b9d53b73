#pragma once

#include <cstddef>
#include <vector>

#include "support/scripted_source.h"

namespace quorin_test {

/// `count` bytes of every value that do not repeat within any test, so that a byte of another place is noticed. The
/// same seed gives the same bytes, also for another count.
Bytes testBytes(size_t count, unsigned int seed = 1);

/// The bytes [offset, offset + length) as far as there are any.
Bytes slice(const Bytes& bytes, long long offset, size_t length);

}  // namespace quorin_test
