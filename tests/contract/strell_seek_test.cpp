// Seeking, and how the one source serves two positions.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <climits>

#include "strell_support.h"
#include "support/bytes.h"
#include "support/synthetic_source.h"

namespace quorin_test {
namespace {

using Offsets = std::vector<long long>;

SourceScript script(size_t size) {
  SourceScript script;
  script.bytes = testBytes(size);
  return script;
}

TEST(StrellSeek, TheSourceIsAskedAtOnceAlsoWhereItStands) {
  Attached attached(script(1000));
  EXPECT_EQ(attached.media.seek(0), 0);
  EXPECT_EQ(attached.media.seek(500), 0);
  EXPECT_EQ(attached.media.seek(500), 0);
  EXPECT_EQ(attached.source->calls.seekTargets, (Offsets{0, 500, 500}));
  EXPECT_EQ(attached.source->calls.reads, 0);
}

TEST(StrellSeek, AFailureOfTheSourceIsPassedOnAndChangesNothing) {
  const SourceScript bytes = script(300000);
  Attached attached(bytes);
  ASSERT_EQ(attached.media.seek(100000), 0);
  ASSERT_EQ(readCache(attached.media, 10).status, 0);
  attached.source->script.seekFaults[2] = -6;
  EXPECT_EQ(attached.media.seek(200000), -6);
  EXPECT_EQ(tell(attached.media), 100000);
  EXPECT_EQ(attached.media.getDataCacheOffset(), 100010U);
  EXPECT_EQ(readCache(attached.media, 10).bytes, slice(bytes.bytes, 100010, 10));
  EXPECT_EQ(readData(attached.media, 10).bytes, slice(bytes.bytes, 100000, 10));
}

TEST(StrellSeek, AFailedSeekDoesNotHealAFailedCacheOffset) {
  Attached attached(script(1000));
  ASSERT_EQ(attached.media.setDataCacheOffset(5000), strell::OFFSET_NOT_CACHED);
  ASSERT_EQ(attached.media.seek(1001), strell::OUT_OF_RANGE);
  EXPECT_EQ(readCache(attached.media, 0).status, strell::OFFSET_NOT_CACHED);
  ASSERT_EQ(attached.media.seek(1000), 0);
  EXPECT_EQ(readCache(attached.media, 0).status, 0);
}

TEST(StrellSeek, IsRefusedWhenTheSizeCannotBeTold) {
  SourceScript failing = script(1000);
  failing.sizeFault = -70;
  Attached attached(failing);
  EXPECT_EQ(attached.media.seek(0), strell::NOT_SEEKABLE);
  EXPECT_EQ(attached.source->calls.seeks, 0);
}

TEST(StrellSeek, TheNextSeekDropsTheRegion) {
  Attached attached(script(400000));
  ASSERT_EQ(attached.media.seek(100000), 0);
  ASSERT_EQ(readCache(attached.media, 100).status, 0);
  ASSERT_EQ(attached.media.seek(300000), 0);
  EXPECT_EQ(attached.media.setDataCacheOffset(100000), strell::OFFSET_NOT_CACHED);
  EXPECT_EQ(attached.media.setDataCacheOffset(300000), 0);
  ASSERT_EQ(attached.media.seek(100000), 0);
  const int reads = attached.source->calls.reads;
  EXPECT_EQ(readCache(attached.media, 100).status, 0);
  EXPECT_EQ(attached.source->calls.reads, reads + 1);
}

TEST(StrellSeek, PlayingAndLookingTakeTurnsOnOneSource) {
  const SourceScript bytes = script(400000);
  Attached attached(bytes);
  ASSERT_EQ(attached.media.seek(100000), 0);
  EXPECT_EQ(readData(attached.media, 5000).bytes, slice(bytes.bytes, 100000, 5000));
  EXPECT_EQ(readCache(attached.media, 10).bytes, slice(bytes.bytes, 100000, 10));     // goes back
  EXPECT_EQ(readData(attached.media, 5000).bytes, slice(bytes.bytes, 105000, 5000));  // goes on
  EXPECT_EQ(readCacheAt(attached.media, 0, 10).bytes, slice(bytes.bytes, 0, 10));     // goes to the head
  EXPECT_EQ(readCacheAt(attached.media, 109990, 10).bytes, slice(bytes.bytes, 109990, 10));
  EXPECT_EQ(readData(attached.media, 20000).bytes, slice(bytes.bytes, 110000, 20000));
  EXPECT_EQ(attached.source->calls.seekTargets, (Offsets{100000, 100000, 105000, 0, 104096}));
}

TEST(StrellSeek, BytesOfTheRegionArePlayedFromMemory) {
  const SourceScript bytes = script(400000);
  Attached attached(bytes);
  ASSERT_EQ(attached.media.seek(100000), 0);
  ASSERT_EQ(readCache(attached.media, 4096).status, 0);
  const int reads = attached.source->calls.reads;
  EXPECT_EQ(readData(attached.media, 4096).bytes, slice(bytes.bytes, 100000, 4096));
  EXPECT_EQ(attached.source->calls.reads, reads);
  EXPECT_EQ(readData(attached.media, 100).bytes, slice(bytes.bytes, 104096, 100));
  EXPECT_EQ(attached.source->calls.seeks, 1);
}

TEST(StrellSeek, LargeReadsGoToTheSourceInOneCall) {
  const SourceScript bytes = script(400000);
  Attached attached(bytes);
  ASSERT_EQ(attached.media.seek(100000), 0);
  EXPECT_TRUE(readData(attached.media, 250000).bytes == slice(bytes.bytes, 100000, 250000));
  EXPECT_EQ(attached.source->calls.readLengths, std::vector<unsigned int>{250000});
}

TEST(StrellSeek, WhenTheSourceCannotGoBackTheReadFailsAndLaterOnesRecover) {
  const SourceScript bytes = script(400000);
  Attached attached(bytes);
  ASSERT_EQ(attached.media.seek(100000), 0);
  ASSERT_EQ(readData(attached.media, 100).status, 0);
  attached.source->script.seekFaults[2] = -6;
  EXPECT_EQ(readCache(attached.media, 10).status, strell::NOT_CACHED);
  EXPECT_EQ(readCache(attached.media, 10).bytes, slice(bytes.bytes, 100000, 10));
  attached.source->script.seekFaults[4] = -6;
  EXPECT_EQ(readCacheAt(attached.media, 0, 10).status, strell::NOT_CACHED);
  EXPECT_EQ(readCacheAt(attached.media, 0, 10).bytes, slice(bytes.bytes, 0, 10));
  attached.source->script.seekFaults[6] = -6;
  const DataRead read = readData(attached.media, 5000);
  EXPECT_EQ(read.status, -6);
  EXPECT_EQ(read.bytes, slice(bytes.bytes, 100100, 3996));  // what the region had
  EXPECT_EQ(tell(attached.media), 104096);
  EXPECT_EQ(readData(attached.media, 10).bytes, slice(bytes.bytes, 104096, 10));
}

TEST(StrellSeek, ASourceThatHasLessThanItSaysEndsWhereItEnds) {
  SourceScript lying = script(1000);
  lying.declaredSize = 5000;
  Attached attached(lying);
  ASSERT_EQ(attached.media.seek(3000), 0);
  EXPECT_EQ(readData(attached.media, 10).status, strell::END_OF_STREAM);
  EXPECT_EQ(readCache(attached.media, 0).status, 0);
  EXPECT_EQ(readCache(attached.media, 1).status, strell::NOT_CACHED);
  EXPECT_EQ(attached.media.setDataCacheOffset(3001), strell::OFFSET_NOT_CACHED);
}

// Beyond 32 bits.

constexpr long long fourGiB = 0x100000000;

struct Huge {
  explicit Huge(long long size) : source(boost::make_shared<SyntheticSource>(size)) {
    EXPECT_EQ(media.attach(source), 0);
  }

  boost::shared_ptr<SyntheticSource> source;
  strell::Strell media;
};

TEST(StrellSeek, BeyondFourGiBOnlyTheReadPositionMoves) {
  Huge huge(2 * fourGiB);
  ASSERT_EQ(readCacheAt(huge.media, 20, 10).status, 0);
  ASSERT_EQ(huge.media.seek(fourGiB + 5), 0);
  EXPECT_EQ(tell(huge.media), fourGiB + 5);
  EXPECT_EQ(huge.media.getDataCacheOffset(), 30U);
  EXPECT_EQ(readData(huge.media, 70000).bytes, SyntheticSource::bytesAt(fourGiB + 5, 70000));
  EXPECT_EQ(readCache(huge.media, 10).bytes, SyntheticSource::bytesAt(30, 10));
  EXPECT_EQ(readCacheAt(huge.media, 5, 10).bytes, SyntheticSource::bytesAt(5, 10));
  EXPECT_EQ(readData(huge.media, 10).bytes, SyntheticSource::bytesAt(fourGiB + 70005, 10));
}

TEST(StrellSeek, BeyondFourGiBTheCacheOffsetMayLoseItsRegion) {
  Huge huge(2 * fourGiB);
  ASSERT_EQ(huge.media.seek(100000), 0);
  ASSERT_EQ(readCache(huge.media, 10).status, 0);
  ASSERT_EQ(huge.media.seek(fourGiB), 0);
  EXPECT_EQ(huge.media.getDataCacheOffset(), 100010U);
  EXPECT_EQ(readCache(huge.media, 1).status, strell::NOT_CACHED);
  EXPECT_EQ(readCache(huge.media, 0).status, strell::NOT_CACHED);
  EXPECT_EQ(huge.media.setDataCacheOffset(0), 0);
}

TEST(StrellSeek, BeyondFourGiBAFailedCacheOffsetStaysFailed) {
  Huge huge(2 * fourGiB);
  ASSERT_EQ(huge.media.setDataCacheOffset(UINT_MAX), strell::OFFSET_NOT_CACHED);
  ASSERT_EQ(huge.media.seek(fourGiB), 0);
  EXPECT_EQ(readCache(huge.media, 0).status, strell::OFFSET_NOT_CACHED);
}

TEST(StrellSeek, TheCacheOffsetNeverRunsOverThirtyTwoBits) {
  Huge huge(2 * fourGiB);
  ASSERT_EQ(huge.media.seek(fourGiB - 10), 0);
  EXPECT_EQ(huge.media.getDataCacheOffset(), UINT_MAX - 9);
  EXPECT_EQ(readCache(huge.media, 10).status, strell::NOT_CACHED);
  EXPECT_EQ(readCache(huge.media, 9).bytes, SyntheticSource::bytesAt(fourGiB - 10, 9));
  EXPECT_EQ(huge.media.getDataCacheOffset(), UINT_MAX);
  EXPECT_EQ(readCache(huge.media, 1).status, strell::NOT_CACHED);
  EXPECT_EQ(readData(huge.media, 100).bytes, SyntheticSource::bytesAt(fourGiB - 10, 100));
}

TEST(StrellSeek, ToTheLastOffsetOfThirtyTwoBits) {
  Huge huge(2 * fourGiB);
  ASSERT_EQ(huge.media.seek(UINT_MAX), 0);
  EXPECT_EQ(huge.media.getDataCacheOffset(), UINT_MAX);
  EXPECT_EQ(readCache(huge.media, 0).status, 0);
  EXPECT_EQ(readCache(huge.media, 1).status, strell::NOT_CACHED);
  EXPECT_EQ(readData(huge.media, 10).bytes, SyntheticSource::bytesAt(UINT_MAX, 10));
}

TEST(StrellSeek, AtTheEndOfSixtyThreeBitsNothingOverflows) {
  Huge huge(LLONG_MAX);
  ASSERT_EQ(huge.media.seek(LLONG_MAX - 5), 0);
  EXPECT_EQ(readData(huge.media, 10).bytes, SyntheticSource::bytesAt(LLONG_MAX - 5, 5));
  EXPECT_EQ(tell(huge.media), LLONG_MAX);
  EXPECT_EQ(readData(huge.media, 10).status, strell::END_OF_STREAM);
  ASSERT_EQ(huge.media.seek(LLONG_MAX), 0);
  EXPECT_EQ(readData(huge.media, UINT_MAX / 64).status, strell::END_OF_STREAM);
}

TEST(StrellSeek, AShortSourceBeyondFourGiBEndsThere) {
  Huge huge(fourGiB + 7);
  ASSERT_EQ(huge.media.seek(fourGiB + 7), 0);
  EXPECT_EQ(readData(huge.media, 1).status, strell::END_OF_STREAM);
  EXPECT_EQ(huge.media.seek(fourGiB + 8), strell::OUT_OF_RANGE);
  ASSERT_EQ(huge.media.seek(fourGiB), 0);
  EXPECT_EQ(readData(huge.media, 100).bytes, SyntheticSource::bytesAt(fourGiB, 7));
}

}  // namespace
}  // namespace quorin_test
