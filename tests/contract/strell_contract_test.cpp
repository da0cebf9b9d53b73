#include "strell_contract.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <climits>

#include "support/bytes.h"

namespace quorin_test {
namespace {

INSTANTIATE_TEST_SUITE_P(Strell, StrellContract, testing::ValuesIn(strellKinds()), strellKindName);

// Rule 1: the regions.

TEST_P(StrellContract, TheHeadHoldsTheFirstBytesUpToItsCapacityAndNotOneMore) {
  const unsigned int head = GetParam().head();
  const Bytes audio = testBytes(head + 5000);
  const auto attached = attach(audio);
  const CacheRead whole = readCacheAt(attached->media, 0, head);
  EXPECT_EQ(whole.status, 0);
  EXPECT_TRUE(whole.bytes == slice(audio, 0, head));
  EXPECT_EQ(readCacheAt(attached->media, 0, head + 1).status, strell::NOT_CACHED);
  EXPECT_EQ(readCacheAt(attached->media, head - 1, 1).bytes, slice(audio, head - 1, 1));
  EXPECT_EQ(readCacheAt(attached->media, head - 1, 2).status, strell::NOT_CACHED);
}

TEST_P(StrellContract, BytesAroundEveryFillStepAreRight) {
  const Bytes audio = testBytes(GetParam().head() + 10);
  const SourceScript script = scriptOf(audio);
  for (const unsigned int step : {4096U, 8192U, 16384U, 24576U, 32768U, 49152U, 65408U, 65536U, 131072U, 1048576U}) {
    for (unsigned int length = step - 1; length <= step + 1 && length <= GetParam().head(); ++length) {
      const auto attached = attach(script);
      const CacheRead read = readCacheAt(attached->media, 0, length);
      EXPECT_EQ(read.status, 0) << length;
      EXPECT_TRUE(read.bytes == slice(audio, 0, length)) << length;
      EXPECT_EQ(readCacheAt(attached->media, length - 1, 1).bytes, slice(audio, length - 1, 1)) << length;
    }
  }
}

TEST_P(StrellContract, TheHeadEndsAtTheEndOfTheStream) {
  for (const unsigned int size : {0U, 1U, 4095U, 4096U, 4097U, 10000U}) {
    const Bytes audio = testBytes(size);
    const auto attached = attach(audio);
    EXPECT_EQ(readCacheAt(attached->media, 0, size + 1).status, strell::NOT_CACHED) << size;
    const CacheRead whole = readCacheAt(attached->media, 0, size);
    EXPECT_EQ(whole.status, 0) << size;
    EXPECT_TRUE(whole.bytes == audio) << size;
    EXPECT_EQ(readCache(attached->media, 1).status, strell::NOT_CACHED) << size;
    EXPECT_EQ(readCache(attached->media, 0).status, 0) << size;
  }
}

TEST_P(StrellContract, TheHeadStaysForLife) {
  const Bytes audio = testBytes(200000);
  const auto attached = attach(audio);
  ASSERT_EQ(readCacheAt(attached->media, 0, 5000).status, 0);
  readData(attached->media, 150000);
  attached->media.seek(100000);
  readCacheAt(attached->media, 100000, 5000);
  const int reads = attached->source->calls.reads;
  EXPECT_TRUE(readCacheAt(attached->media, 0, 5000).bytes == slice(audio, 0, 5000));
  EXPECT_EQ(attached->source->calls.reads, reads);
}

// Rule 2: moving the cache offset.

TEST_P(StrellContract, TheCacheOffsetMovesAnywhereInTheHeadAndToItsEnd) {
  const unsigned int head = GetParam().head();
  const Bytes audio = testBytes(head + 10);
  const SourceScript script = scriptOf(audio);
  for (const unsigned int offset : {0U, 1U, 4095U, 4096U, 4097U, 65535U, 65536U, head - 1, head}) {
    const auto attached = attach(script);
    EXPECT_EQ(attached->media.setDataCacheOffset(offset), 0) << offset;
    EXPECT_EQ(attached->media.getDataCacheOffset(), offset);
    EXPECT_EQ(readCache(attached->media, 0).status, 0) << offset;
    const unsigned int left = std::min(head - offset, 3U);
    EXPECT_EQ(readCache(attached->media, left).bytes, slice(audio, offset, left)) << offset;
  }
}

TEST_P(StrellContract, ACacheOffsetBeyondTheHeadFailsWithoutAskingTheSource) {
  const unsigned int head = GetParam().head();
  const auto attached = attach(testBytes(head + 10));
  for (const unsigned int offset : {head + 1, head + 9, 2 * head, UINT_MAX}) {
    EXPECT_EQ(attached->media.setDataCacheOffset(offset), strell::OFFSET_NOT_CACHED) << offset;
    EXPECT_EQ(attached->media.getDataCacheOffset(), offset);
  }
  EXPECT_EQ(attached->source->calls.reads, 0);
}

TEST_P(StrellContract, ACacheOffsetBeyondTheEndOfTheStreamFails) {
  for (const unsigned int size : {0U, 1U, 4095U, 4096U, 4097U, 10000U}) {
    const auto attached = attach(testBytes(size));
    EXPECT_EQ(attached->media.setDataCacheOffset(size + 1), strell::OFFSET_NOT_CACHED) << size;
    EXPECT_EQ(attached->media.setDataCacheOffset(size), 0) << size;
  }
}

TEST_P(StrellContract, AfterAFailedMoveEveryReadFailsUntilTheNextMove) {
  const Bytes audio = testBytes(10000);
  const auto attached = attach(audio);
  ASSERT_EQ(attached->media.setDataCacheOffset(10001), strell::OFFSET_NOT_CACHED);
  for (const unsigned int length : {0U, 1U, 4096U, UINT_MAX}) {
    EXPECT_EQ(readCache(attached->media, length).status, strell::OFFSET_NOT_CACHED) << length;
    EXPECT_EQ(attached->media.getDataCacheOffset(), 10001U);
  }
  unsigned int atHand = 7;
  EXPECT_EQ(attached->media.peekDataCache(atHand), nullptr);
  EXPECT_EQ(atHand, 0U);
  EXPECT_EQ(readCacheAt(attached->media, 9990, 10).bytes, slice(audio, 9990, 10));
}

// Rule 3: reading the cache.

TEST_P(StrellContract, CacheReadsFollowEachOther) {
  const Bytes audio = testBytes(20000);
  const auto attached = attach(audio);
  unsigned int offset = 0;
  for (const unsigned int length : {1U, 0U, 10U, 4085U, 1U, 8000U, 0U, 7903U}) {
    const CacheRead read = readCache(attached->media, length);
    EXPECT_EQ(read.status, 0) << offset;
    EXPECT_TRUE(read.bytes == slice(audio, offset, length)) << offset;
    offset += length;
  }
  EXPECT_EQ(readCache(attached->media, 1).status, strell::NOT_CACHED);
  EXPECT_EQ(tell(attached->media), 0);
}

TEST_P(StrellContract, ACacheReadOfNoBytesSucceedsWithoutAskingTheSource) {
  const auto attached = attach(testBytes(100));
  const CacheRead read = readCache(attached->media, 0);
  EXPECT_EQ(read.status, 0);
  EXPECT_FALSE(read.null);
  EXPECT_EQ(attached->source->calls.reads, 0);
}

TEST_P(StrellContract, ACacheReadThatFailsLeavesTheOffsetAndTheBytesBeforeUsable) {
  const Bytes audio = testBytes(6000);
  const auto attached = attach(audio);
  ASSERT_EQ(attached->media.setDataCacheOffset(5000), 0);
  EXPECT_EQ(readCache(attached->media, 1001).status, strell::NOT_CACHED);
  EXPECT_EQ(attached->media.getDataCacheOffset(), 5000U);
  EXPECT_TRUE(readCache(attached->media, 1000).bytes == slice(audio, 5000, 1000));
}

TEST_P(StrellContract, AHugeCacheReadFailsWithoutAskingTheSource) {
  const auto attached = attach(testBytes(100));
  for (const unsigned int length : {GetParam().head() + 1, 0x7FFFFFFFU, 0x80000000U, UINT_MAX}) {
    EXPECT_EQ(readCache(attached->media, length).status, strell::NOT_CACHED) << length;
  }
  EXPECT_EQ(attached->source->calls.reads, 0);
  ASSERT_EQ(attached->media.setDataCacheOffset(50), 0);
  EXPECT_EQ(readCache(attached->media, UINT_MAX).status, strell::NOT_CACHED);
  EXPECT_EQ(readCache(attached->media, UINT_MAX - 49).status, strell::NOT_CACHED);
}

TEST_P(StrellContract, BytesAtHandAreReadAgainWithoutAskingTheSource) {
  const auto attached = attach(testBytes(20000));
  unsigned char* first = nullptr;
  ASSERT_EQ(attached->media.readDataCache(10000, first), 0);
  const int reads = attached->source->calls.reads;
  unsigned char* again = nullptr;
  ASSERT_EQ(attached->media.setDataCacheOffset(10), 0);
  ASSERT_EQ(attached->media.readDataCache(100, again), 0);
  EXPECT_EQ(again, first + 10);
  EXPECT_EQ(attached->source->calls.reads, reads);
}

TEST_P(StrellContract, PeekShowsWhatIsAtHandAndAsksNobody) {
  if (!strellCanPeek) {
    GTEST_SKIP() << noPeek;
  }
  const Bytes audio = testBytes(20000);
  const auto attached = attach(audio);
  unsigned int atHand = 7;
  EXPECT_EQ(attached->media.peekDataCache(atHand), nullptr);
  EXPECT_EQ(atHand, 0U);
  ASSERT_EQ(readCache(attached->media, 5000).status, 0);
  const int reads = attached->source->calls.reads;
  ASSERT_EQ(attached->media.setDataCacheOffset(100), 0);
  const unsigned char* data = attached->media.peekDataCache(atHand);
  ASSERT_NE(data, nullptr);
  ASSERT_GE(atHand, 4900U);
  ASSERT_LE(atHand, 8192U - 100U);
  EXPECT_TRUE(Bytes(data, data + atHand) == slice(audio, 100, atHand));
  EXPECT_EQ(attached->media.getDataCacheOffset(), 100U);
  EXPECT_EQ(attached->source->calls.reads, reads);
}

// Rule 4: seeking.

TEST_P(StrellContract, SeekMovesBothPositionsOrIsRefusedAndMovesNone) {
  const Bytes audio = testBytes(300000);
  const SourceScript script = scriptOf(audio);
  for (const long long target : {0LL, 1LL, 65535LL, 65536LL, 65537LL, 250000LL, 299999LL, 300000LL}) {
    const auto attached = attach(script);
    readData(attached->media, 10);
    ASSERT_EQ(attached->media.setDataCacheOffset(20), 0);
    if (GetParam().canSeek()) {
      EXPECT_EQ(attached->media.seek(target), 0) << target;
      EXPECT_EQ(tell(attached->media), target);
      EXPECT_EQ(attached->media.getDataCacheOffset(), target);
      EXPECT_EQ(readCache(attached->media, 0).status, 0);
      const auto left = static_cast<unsigned int>(std::min(300000 - target, 65536LL));
      EXPECT_TRUE(readCache(attached->media, left).bytes == slice(audio, target, left)) << target;
      EXPECT_TRUE(readData(attached->media, 5000).bytes == slice(audio, target, 5000)) << target;
    } else {
      EXPECT_EQ(attached->media.seek(target), strell::NOT_SEEKABLE) << target;
      EXPECT_EQ(attached->source->calls.seeks, 0);
      EXPECT_EQ(tell(attached->media), 10);
      EXPECT_EQ(attached->media.getDataCacheOffset(), 20U);
      EXPECT_EQ(readData(attached->media, 100).bytes, slice(audio, 10, 100)) << target;
      EXPECT_EQ(readCache(attached->media, 100).bytes, slice(audio, 20, 100)) << target;
    }
  }
}

TEST_P(StrellContract, SeekOutsideTheStreamChangesNothing) {
  const Bytes audio = testBytes(1000);
  const auto attached = attach(audio);
  readData(attached->media, 10);
  ASSERT_EQ(attached->media.setDataCacheOffset(20), 0);
  const int seeks = attached->source->calls.seeks;
  for (const long long target : {-1LL, LLONG_MIN, 1001LL, 0x100000000LL, LLONG_MAX}) {
    EXPECT_EQ(attached->media.seek(target), GetParam().canSeek() ? strell::OUT_OF_RANGE : strell::NOT_SEEKABLE);
    EXPECT_EQ(attached->source->calls.seeks, seeks);
    EXPECT_EQ(tell(attached->media), 10);
    EXPECT_EQ(attached->media.getDataCacheOffset(), 20U);
  }
  EXPECT_EQ(readCache(attached->media, 10).bytes, slice(audio, 20, 10));
  EXPECT_TRUE(readData(attached->media, 1000).bytes == slice(audio, 10, 990));
}

// Rule 5: reading.

TEST_P(StrellContract, ReadsDeliverWhatIsAskedForUntilTheEnd) {
  const Bytes audio = testBytes(70000);
  const SourceScript script = scriptOf(audio);
  for (const unsigned int length : {1000U, 4096U, 65536U, 69999U, 70000U, 70001U, 1000000U}) {
    const auto attached = attach(script);
    for (long long offset = 0; offset < 70000; offset += length) {
      const DataRead read = readData(attached->media, length);
      EXPECT_EQ(read.status, 0) << length;
      EXPECT_TRUE(read.bytes == slice(audio, offset, length)) << length << " at " << offset;
    }
    for (int i = 0; i < 2; ++i) {
      const DataRead read = readData(attached->media, length);
      EXPECT_EQ(read.status, strell::END_OF_STREAM);
      EXPECT_TRUE(read.bytes.empty());
    }
    EXPECT_EQ(tell(attached->media), 70000);
  }
}

TEST_P(StrellContract, ReadingNoBytesAsksNobody) {
  const auto attached = attach(testBytes(10));
  for (int i = 0; i < 2; ++i) {  // at the start and at the end
    const int reads = attached->source->calls.reads;
    const DataRead read = readData(attached->media, 0);
    EXPECT_EQ(read.status, 0);
    EXPECT_TRUE(read.bytes.empty());
    EXPECT_EQ(attached->source->calls.reads, reads);
    readData(attached->media, 10);
  }
}

TEST_P(StrellContract, AnEmptyStreamEndsAtTheFirstRead) {
  const auto attached = attach(Bytes());
  EXPECT_EQ(readData(attached->media, 1).status, strell::END_OF_STREAM);
  EXPECT_EQ(tell(attached->media), 0);
}

TEST_P(StrellContract, ReadingNeverDisturbsTheHead) {
  const unsigned int head = GetParam().head();
  const Bytes audio = testBytes(head + 20000);
  const SourceScript script = scriptOf(audio);
  for (const unsigned int before : {0U, 1U, 4096U, 5000U}) {
    const auto attached = attach(script);
    ASSERT_EQ(attached->media.setDataCacheOffset(before), 0);
    EXPECT_TRUE(readData(attached->media, head + 10000).bytes == slice(audio, 0, head + 10000)) << before;
    EXPECT_TRUE(readCacheAt(attached->media, 0, head).bytes == slice(audio, 0, head)) << before;
    EXPECT_TRUE(readData(attached->media, 20000).bytes == slice(audio, head + 10000, 10000)) << before;
    EXPECT_EQ(readCacheAt(attached->media, head, 1).status, strell::NOT_CACHED);
  }
}

TEST_P(StrellContract, PlayedBytesOfASourceThatIsNotMovedAreNotReadTwice) {
  const Bytes audio = testBytes(60000);
  const auto attached = attach(audio);
  for (int i = 0; i < 6; ++i) {
    readCacheAt(attached->media, static_cast<unsigned int>(i) * 9000, 1000);
    readData(attached->media, 8500);
  }
  readData(attached->media, 60000);
  EXPECT_TRUE(readCacheAt(attached->media, 0, 60000).bytes == audio);
  EXPECT_EQ(attached->source->calls.bytes, attached->source->script.bytes.size());
  EXPECT_EQ(attached->source->calls.seeks, 0);
}

// Rule 6: the two positions.

TEST_P(StrellContract, TellFollowsReadsOnlyAndDoesNotAskTheSource) {
  const auto attached = attach(testBytes(20000));
  const int tells = attached->source->calls.tells;
  EXPECT_EQ(tell(attached->media), 0);
  readCacheAt(attached->media, 5000, 100);
  EXPECT_EQ(tell(attached->media), 0);
  readData(attached->media, 700);
  EXPECT_EQ(tell(attached->media), 700);
  EXPECT_EQ(attached->media.getDataCacheOffset(), 5100U);
  EXPECT_EQ(attached->source->calls.tells, tells);
}

// Rule 7: what the source is asked for.

TEST_P(StrellContract, SizeAndSeekabilityAreThoseOfTheSource) {
  const auto attached = attach(testBytes(5000));
  long long size = -7;
  long long expectedSize = -7;
  EXPECT_EQ(attached->media.size(size), attached->source->size(expectedSize));
  EXPECT_EQ(size, expectedSize);
  for (const bool before : {false, true}) {
    bool seekable = before;
    bool expected = before;
    EXPECT_EQ(attached->media.getSeekable(seekable), attached->source->getSeekable(expected));
    EXPECT_EQ(seekable, expected);
  }
  EXPECT_EQ(attached->media.cost().bytes, attached->source->cost().bytes);
}

// Rule 8: ICY metadata. Without metadata no block must ever show up.

TEST_P(StrellContract, EveryBlockIsHandedOutByTheReadThatPassesItsPlace) {
  const Bytes audio = testBytes(35000);
  const unsigned int metaint = GetParam().metaint;
  const SourceScript script = scriptOf(audio);
  for (const unsigned int filled : {0U, 1U, 5000U, 35000U}) {
    for (const unsigned int length : {997U, 4096U, 16000U, 40000U}) {
      const auto attached = attach(script);
      ASSERT_EQ(attached->media.setDataCacheOffset(filled), 0);
      long long offset = 0;
      while (offset < 35000) {
        const DataRead read = readData(attached->media, length);
        ASSERT_EQ(read.status, 0);
        const long long end = offset + static_cast<long long>(read.bytes.size());
        EXPECT_EQ(read.icy, icyBetween(offset, read.bytes.size() < length ? end : end - 1, metaint));
        EXPECT_TRUE(read.bytes == slice(audio, offset, length));
        offset = end;
      }
    }
  }
}

// Rule 9: attaching.

TEST_P(StrellContract, AttachingReadsNothing) {
  const auto attached = attach(testBytes(10));
  EXPECT_EQ(attached->source->calls.reads, 0);
  EXPECT_EQ(attached->source->calls.seeks, 0);
  EXPECT_EQ(tell(attached->media), 0);
  EXPECT_EQ(attached->media.getDataCacheOffset(), 0U);
}

TEST_P(StrellContract, AttachingAnotherSourceStartsAnew) {
  const auto attached = attach(testBytes(200000));
  readData(attached->media, 100);
  attached->media.seek(150000);
  attached->media.setDataCacheOffset(UINT_MAX);
  SourceScript script;
  script.bytes = testBytes(5000, 2);
  ASSERT_EQ(attached->media.attach(boost::make_shared<ScriptedSource>(script)), 0);
  EXPECT_EQ(tell(attached->media), 0);
  EXPECT_EQ(attached->media.getDataCacheOffset(), 0U);
  EXPECT_EQ(readCache(attached->media, 100).bytes, slice(script.bytes, 0, 100));
  const DataRead read = readData(attached->media, 6000);
  EXPECT_TRUE(read.bytes == script.bytes);
  EXPECT_TRUE(read.icy.empty());
}

// Rule 10: failures.

TEST_P(StrellContract, AFailureIsMetAgainAndTheBytesBeforeItAreUsable) {
  const Bytes audio = testBytes(30000);
  const auto attached = attach(audio);
  // Somewhere inside; where that is in the audio depends on the metadata before it.
  attached->source->script.failingOffset = 20000;
  attached->source->script.failingOffsetCode = -5;
  EXPECT_EQ(readCacheAt(attached->media, 0, 20001).status, strell::NOT_CACHED);
  // Metadata takes 16 bytes for each text and one byte for each block.
  unsigned int usable = 20000;
  while (usable != 0 && attached->media.setDataCacheOffset(usable) != 0) {
    --usable;
  }
  EXPECT_GT(usable, 0U);
  ASSERT_EQ(attached->media.setDataCacheOffset(0), 0);
  EXPECT_TRUE(readCache(attached->media, usable).bytes == slice(audio, 0, usable));
  for (int i = 0; i < 2; ++i) {
    const int reads = attached->source->calls.reads;
    EXPECT_EQ(readCache(attached->media, 1).status, strell::NOT_CACHED);
    EXPECT_EQ(attached->source->calls.reads, reads + 1);
  }
  const DataRead read = readData(attached->media, 30000);
  EXPECT_EQ(read.status, -5);
  EXPECT_TRUE(read.bytes == slice(audio, 0, usable));
  EXPECT_EQ(readData(attached->media, 1).status, -5);
  EXPECT_EQ(tell(attached->media), usable);

  attached->source->script.failingOffset = -1;  // the line is back
  EXPECT_EQ(readCache(attached->media, 1).bytes, slice(audio, usable, 1));
  EXPECT_TRUE(readData(attached->media, 30000).bytes == slice(audio, usable, 30000));
}

TEST_P(StrellContract, ATransientFailureLosesNoByteAndNoBlock) {
  const Bytes audio = testBytes(30000);
  const SourceScript script = scriptOf(audio);
  for (int failing = 1; failing <= 12; ++failing) {
    for (const unsigned int delivered : {0U, 1U, 3U}) {
      const auto attached = attach(script);
      attached->source->script.readFaults[failing] = -5;
      attached->source->script.readFaultBytes[failing] = delivered;
      Bytes all;
      std::vector<Icy> icy;
      int failures = 0;
      for (int i = 0; all.size() < audio.size() && i < 100; ++i) {
        readCacheAt(attached->media, static_cast<unsigned int>(i) * 400, 100);
        const DataRead read = readData(attached->media, 1500);
        all.insert(all.end(), read.bytes.begin(), read.bytes.end());
        icy.insert(icy.end(), read.icy.begin(), read.icy.end());
        if (read.status != 0) {
          EXPECT_EQ(read.status, -5);
          ++failures;
        }
      }
      const DataRead end = readData(attached->media, 1);
      EXPECT_EQ(end.status, strell::END_OF_STREAM);
      icy.insert(icy.end(), end.icy.begin(), end.icy.end());
      EXPECT_LE(failures, 1);
      EXPECT_TRUE(all == audio) << failing;
      EXPECT_EQ(icy, icyBetween(0, 30000, GetParam().metaint)) << failing;
    }
  }
}

}  // namespace
}  // namespace quorin_test
