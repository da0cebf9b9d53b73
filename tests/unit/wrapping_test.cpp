#include "framework/wrapping.h"

#include <gtest/gtest.h>

#include <limits>

namespace zu::md::common::quorin {
namespace {

TEST(Wrapping, SmallProductsAreExact) {
  EXPECT_EQ(wrappingProduct(-7, 8), -56);
  EXPECT_EQ(wrappingProduct(1LL << 40, 8), 1LL << 43);
}

TEST(Wrapping, ProductsBeyond64BitsKeepTheirLowBits) {
  EXPECT_EQ(wrappingProduct(std::numeric_limits<int64_t>::max(), 8), -8);
  EXPECT_EQ(wrappingProduct(1LL << 61, 8), 0);
  EXPECT_EQ(wrappingProduct(1LL << 60, 8), std::numeric_limits<int64_t>::min());
}

TEST(Wrapping, DifferencesBeyond64BitsWrap) {
  EXPECT_EQ(wrappingDifference(3, 5), -2);
  EXPECT_EQ(wrappingDifference(std::numeric_limits<int64_t>::min(), 1), std::numeric_limits<int64_t>::max());
}

}  // namespace
}  // namespace zu::md::common::quorin
