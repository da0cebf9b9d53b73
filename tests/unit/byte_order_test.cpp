#include "framework/byte_order.h"

#include <gtest/gtest.h>

namespace zu::md::common::quorin {
namespace {

constexpr unsigned char highBytes[4] = {0xfe, 0xdc, 0xba, 0x98};

TEST(ByteOrder, BigEndianNumbersUseEveryBit) {
  EXPECT_EQ(bigEndian16(highBytes), 0xfedcU);
  EXPECT_EQ(bigEndian24(highBytes), 0xfedcbaU);
  EXPECT_EQ(bigEndian32(highBytes), 0xfedcba98U);
}

TEST(ByteOrder, BitFieldCutsOutTheBitsAskedFor) {
  EXPECT_EQ(bitField(0xb4, 0, 8), 0xb4U);
  EXPECT_EQ(bitField(0xb4, 4, 4), 0xbU);
  EXPECT_EQ(bitField(0xb4, 2, 2), 1U);
  EXPECT_EQ(bitField(0xb4, 7, 1), 1U);
  EXPECT_EQ(bitField(0xb4, 6, 1), 0U);
}

TEST(ByteOrder, LittleEndianNumbersUseEveryBit) {
  EXPECT_EQ(littleEndian16(highBytes), 0xdcfeU);
  EXPECT_EQ(littleEndian32(highBytes), 0x98badcfeU);
}

TEST(ByteOrder, StartsWithComparesTheCharactersAlone) {
  constexpr unsigned char bytes[5] = {'f', 'L', 'a', 'C', 1};
  EXPECT_TRUE(startsWith(bytes, "fLaC"));
  EXPECT_FALSE(startsWith(bytes, "flac"));
  EXPECT_FALSE(startsWith(bytes + 1, "fLaC"));
}

}  // namespace
}  // namespace zu::md::common::quorin
