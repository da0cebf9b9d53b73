// What a cache fill costs, and which region serves.

#include <gtest/gtest.h>

#include "strell_support.h"
#include "support/bytes.h"

namespace quorin_test {
namespace {

using Lengths = std::vector<unsigned int>;
using Offsets = std::vector<long long>;

constexpr unsigned int region = 65536;

SourceScript script(size_t size, bool seekable = true) {
  SourceScript script;
  script.bytes = testBytes(size);
  script.seekable = seekable;
  return script;
}

TEST(StrellCache, AFillAsksForTheSmallestStepThatIsEnoughInOneRead) {
  const std::vector<std::pair<unsigned int, unsigned int>> steps = {
      {1, 4096},        {4095, 4096},     {4096, 4096},      {4097, 8192},       {8192, 8192},
      {8193, 16384},    {16384, 16384},   {16385, 24576},    {24576, 24576},     {24577, 32768},
      {32768, 32768},   {32769, 49152},   {49152, 49152},    {49153, 65408},     {65408, 65408},
      {65409, 65536},   {65536, 65536},   {65537, 131072},   {131072, 131072},   {131073, 262144},
      {300000, 524288}, {524288, 524288}, {524289, 1048576}, {1048575, 1048576}, {1048576, 1048576}};
  for (const auto& [needed, asked] : steps) {
    Attached attached(script(1100000, false));
    EXPECT_EQ(readCache(attached.media, needed).status, 0);
    EXPECT_EQ(attached.source->calls.readLengths, Lengths{asked}) << needed;
  }
}

TEST(StrellCache, FillsGoOnWhereTheyEndedAndGrow) {
  Attached attached(script(100000));
  for (unsigned int offset = 0; offset < region; ++offset) {
    ASSERT_EQ(readCache(attached.media, 1).status, 0);
  }
  EXPECT_EQ(attached.source->calls.readLengths, (Lengths{4096, 4096, 8192, 8192, 8192, 16384, 16256, 128}));
  EXPECT_EQ(attached.source->calls.readOffsets, (Offsets{0, 4096, 8192, 16384, 24576, 32768, 49152, 65408}));
  EXPECT_EQ(attached.source->calls.seeks, 0);
}

TEST(StrellCache, MovingTheOffsetAheadFillsAsFarAsThat) {
  Attached attached(script(100000));
  EXPECT_EQ(attached.media.setDataCacheOffset(4096), 0);
  EXPECT_EQ(attached.media.setDataCacheOffset(5000), 0);
  EXPECT_EQ(attached.media.setDataCacheOffset(8192), 0);
  EXPECT_EQ(attached.media.setDataCacheOffset(10), 0);
  EXPECT_EQ(attached.source->calls.readLengths, (Lengths{4096, 4096}));
}

TEST(StrellCache, AfterAShortReadAFillGoesOnOnlyForWhatIsNeeded) {
  SourceScript shortReads = script(100000);
  shortReads.maxRead = 7;
  Attached attached(shortReads);
  EXPECT_EQ(readCache(attached.media, 10).status, 0);
  EXPECT_EQ(attached.source->calls.readLengths, (Lengths{4096, 4089}));
  EXPECT_EQ(readCache(attached.media, 4).status, 0);
  EXPECT_EQ(attached.source->calls.reads, 2);
}

TEST(StrellCache, TheEndOfTheStreamIsRemembered) {
  Attached attached(script(5000));
  EXPECT_EQ(readCache(attached.media, 5001).status, strell::NOT_CACHED);
  const int reads = attached.source->calls.reads;
  EXPECT_EQ(readCache(attached.media, 6000).status, strell::NOT_CACHED);
  EXPECT_EQ(attached.media.setDataCacheOffset(5001), strell::OFFSET_NOT_CACHED);
  EXPECT_EQ(attached.source->calls.reads, reads);
}

TEST(StrellCache, AFailingReadThatDeliveredWhatIsNeededIsNoFailure) {
  SourceScript failing = script(5000);
  failing.readFaults[1] = -5;
  failing.readFaultBytes[1] = 10;
  Attached attached(failing);
  EXPECT_EQ(readCache(attached.media, 10).bytes, slice(failing.bytes, 0, 10));
  EXPECT_EQ(readCache(attached.media, 10).bytes, slice(failing.bytes, 10, 10));
  EXPECT_EQ(attached.source->calls.readOffsets, (Offsets{0, 10}));
}

TEST(StrellCache, AFailedFillLatchesTheOffsetEvenWhenTheSourceRecovers) {
  SourceScript failing = script(5000);
  failing.readFaults[1] = -5;
  Attached attached(failing);
  EXPECT_EQ(attached.media.setDataCacheOffset(100), strell::OFFSET_NOT_CACHED);
  EXPECT_EQ(readCache(attached.media, 1).status, strell::OFFSET_NOT_CACHED);
  EXPECT_EQ(attached.source->calls.reads, 1);
  EXPECT_EQ(readCacheAt(attached.media, 100, 1).bytes, slice(failing.bytes, 100, 1));
}

TEST(StrellCache, ADeclaredSizeIsNotBelieved) {
  SourceScript lying = script(100, false);
  lying.declaredSize = 0x4000000000000000;
  Attached attached(lying);
  EXPECT_EQ(readCache(attached.media, 1048576).status, strell::NOT_CACHED);
  EXPECT_EQ(readCache(attached.media, 100).bytes, lying.bytes);
}

TEST(StrellCache, TheSeekRegionHoldsItsCapacityAndNotOneMore) {
  const SourceScript bytes = script(300000);
  Attached attached(bytes);
  ASSERT_EQ(attached.media.seek(100000), 0);
  EXPECT_TRUE(readCache(attached.media, region).bytes == slice(bytes.bytes, 100000, region));
  EXPECT_EQ(readCache(attached.media, 0).status, 0);
  EXPECT_EQ(readCache(attached.media, 1).status, strell::NOT_CACHED);
  EXPECT_EQ(attached.media.setDataCacheOffset(100000 + region), 0);
  EXPECT_EQ(attached.media.setDataCacheOffset(100000 + region + 1), strell::OFFSET_NOT_CACHED);
  EXPECT_EQ(attached.media.setDataCacheOffset(99999), strell::OFFSET_NOT_CACHED);
  EXPECT_EQ(readCacheAt(attached.media, 100000, region + 1).status, strell::NOT_CACHED);
}

TEST(StrellCache, TheSeekRegionGrowsInStepsFromItsStart) {
  Attached attached(script(300000));
  ASSERT_EQ(attached.media.seek(100000), 0);
  EXPECT_EQ(readCache(attached.media, 10).status, 0);
  EXPECT_EQ(readCache(attached.media, 5000).status, 0);
  EXPECT_EQ(attached.source->calls.readOffsets, (Offsets{100000, 104096}));
  EXPECT_EQ(attached.source->calls.readLengths, (Lengths{4096, 4096}));
  EXPECT_EQ(attached.source->calls.seeks, 1);
}

TEST(StrellCache, TheSeekRegionEndsAtTheEndOfTheStream) {
  const SourceScript bytes = script(100100);
  Attached attached(bytes);
  ASSERT_EQ(attached.media.seek(100000), 0);
  EXPECT_EQ(readCache(attached.media, 101).status, strell::NOT_CACHED);
  EXPECT_EQ(readCache(attached.media, 100).bytes, slice(bytes.bytes, 100000, 100));
  EXPECT_EQ(readCache(attached.media, 0).status, 0);
  EXPECT_EQ(attached.media.setDataCacheOffset(100101), strell::OFFSET_NOT_CACHED);
}

TEST(StrellCache, BytesInTheHeadServeBeforeTheSeekRegionIsFilled) {
  Attached attached(script(300000));
  ASSERT_EQ(readCache(attached.media, 8192).status, 0);
  ASSERT_EQ(attached.media.seek(100), 0);
  const int reads = attached.source->calls.reads;
  EXPECT_EQ(readCacheAt(attached.media, 100, 8000).status, 0);
  EXPECT_EQ(attached.source->calls.reads, reads);
}

TEST(StrellCache, WhatTheHeadHasNotYetIsFilledAroundTheSeekPosition) {
  const SourceScript bytes = script(300000);
  Attached attached(bytes);
  ASSERT_EQ(attached.media.seek(50000), 0);
  EXPECT_EQ(readCacheAt(attached.media, 51000, 10).bytes, slice(bytes.bytes, 51000, 10));
  EXPECT_EQ(attached.source->calls.readOffsets, Offsets{50000});
  EXPECT_EQ(readCacheAt(attached.media, 49999, 1).bytes, slice(bytes.bytes, 49999, 1));
  EXPECT_EQ(attached.source->calls.readOffsets, (Offsets{50000, 0}));
}

TEST(StrellCache, AnOffsetBehindTheSeekRegionButInTheHeadIsFilledInTheHead) {
  SourceScript bytes = script(300000);
  Attached attached(bytes);
  ASSERT_EQ(attached.media.seek(0), 0);
  EXPECT_EQ(readCacheAt(attached.media, region - 1, 1).bytes, slice(bytes.bytes, region - 1, 1));
  EXPECT_EQ(readCacheAt(attached.media, region, 1).status, strell::NOT_CACHED);
}

TEST(StrellCache, WhenTheSeekRegionCannotTheHeadServes) {
  SourceScript bytes = script(300000);
  Attached attached(bytes);
  ASSERT_EQ(attached.media.seek(1000), 0);
  attached.source->script.readFaults[1] = -5;
  EXPECT_EQ(readCache(attached.media, 10).bytes, slice(bytes.bytes, 1000, 10));
  EXPECT_EQ(attached.source->calls.readOffsets, (Offsets{1000, 0}));
}

TEST(StrellCache, BytesThatLieInNoSingleRegionAreNotDelivered) {
  Attached attached(script(300000));
  ASSERT_EQ(attached.media.seek(60000), 0);
  EXPECT_EQ(readCacheAt(attached.media, 59000, region - 59000).status, 0);
  EXPECT_EQ(readCacheAt(attached.media, 59000, region - 59000 + 1).status, strell::NOT_CACHED);
  EXPECT_EQ(readCacheAt(attached.media, 60000, region).status, 0);
}

TEST(StrellCache, PeekShowsTheSeekRegionWhereTheHeadHasLess) {
  if (!strellCanPeek) {
    GTEST_SKIP() << noPeek;
  }
  const SourceScript bytes = script(300000);
  Attached attached(bytes);
  ASSERT_EQ(readCache(attached.media, 4096).status, 0);
  ASSERT_EQ(attached.media.seek(4000), 0);
  ASSERT_EQ(readCache(attached.media, 1000).status, 0);
  ASSERT_EQ(attached.media.setDataCacheOffset(4050), 0);
  unsigned int atHand = 0;
  const unsigned char* data = attached.media.peekDataCache(atHand);
  ASSERT_EQ(atHand, 4096U - 50U);
  EXPECT_TRUE(Bytes(data, data + atHand) == slice(bytes.bytes, 4050, atHand));
}

}  // namespace
}  // namespace quorin_test
