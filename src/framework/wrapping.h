#pragma once

#include <cstdint>

namespace zu::md::common::quorin {

/// Product modulo 2^64. Sizes come from the item and may be anything up to the largest number.
constexpr int64_t wrappingProduct(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

/// Difference modulo 2^64.
constexpr int64_t wrappingDifference(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

}  // namespace zu::md::common::quorin
