#include "framework/cache_scan.h"

#include <gtest/gtest.h>

#include <random>

#include "scan_case.h"
#include "support/bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

void expectSame(const ScanCase& given) {
  const ScanOutcome fast = given.fast();
  const ScanOutcome stepwise = given.stepwise();
  EXPECT_EQ(fast.found, stepwise.found);
  EXPECT_EQ(fast.offset, stepwise.offset);
  EXPECT_EQ(fast.log, stepwise.log);
  EXPECT_EQ(fast.readLengths, stepwise.readLengths);
  EXPECT_EQ(fast.readOffsets, stepwise.readOffsets);
  EXPECT_EQ(fast.seekTargets, stepwise.seekTargets);
  EXPECT_EQ(fast.bytes, stepwise.bytes);
}

ScanCase over(Bytes bytes, unsigned limit, const SyncPattern& pattern = elevenBits) {
  ScanCase given;
  given.script.bytes = std::move(bytes);
  given.limit = limit;
  given.pattern = pattern;
  return given;
}

TEST(CacheScan, FindsTheFirstSyncAndStandsOnIt) {
  const ScanOutcome outcome =
      over(concat({filler(5000), {0xff, 0xdf, 0xff, 0xe0, 0xff, 0xfb}, filler(10)}), 8000).fast();
  EXPECT_TRUE(outcome.found);
  EXPECT_EQ(outcome.offset, 5002U);
  EXPECT_EQ(outcome.log, "");
}

TEST(CacheScan, TheLastPositionBeforeTheLimitIsTried) {
  const ScanOutcome outcome = over(concat({filler(1023), text("fLaC"), filler(100)}), 1024, word).fast();
  EXPECT_TRUE(outcome.found);
  EXPECT_EQ(outcome.offset, 1023U);
}

TEST(CacheScan, ASyncAtTheLimitIsNotFoundAndTheOffsetStaysThere) {
  const ScanOutcome outcome = over(concat({filler(1024), text("fLaC"), filler(100)}), 1024, word).fast();
  EXPECT_FALSE(outcome.found);
  EXPECT_EQ(outcome.offset, 1024U);
  EXPECT_EQ(outcome.log, "");
}

TEST(CacheScan, OnePositionIsTriedEvenBehindTheLimit) {
  ScanCase given = over(concat({filler(100), {0xff, 0xfb}, filler(10)}), 50);
  given.start = 100;
  EXPECT_TRUE(given.fast().found);
  given.start = 99;
  const ScanOutcome outcome = given.fast();
  EXPECT_FALSE(outcome.found);
  EXPECT_EQ(outcome.offset, 100U);
}

TEST(CacheScan, WhereTheStreamEndsTheReadFails) {
  const ScanOutcome outcome = over(filler(100, 0xff), 200).fast();
  EXPECT_TRUE(outcome.found);
  const ScanOutcome ended = over(filler(100), 200).fast();
  EXPECT_FALSE(ended.found);
  EXPECT_EQ(ended.offset, 99U);
  EXPECT_EQ(ended.log, "3000 Scanner::scan():# error reading cached data ret=-1003 buffer=(nil)!\n");
}

TEST(CacheScan, ASyncCutByTheEndIsNotFound) {
  const ScanOutcome outcome = over(concat({filler(99), {0xff}}), 200).fast();
  EXPECT_FALSE(outcome.found);
  EXPECT_EQ(outcome.offset, 99U);
}

TEST(CacheScan, ReadsNoMoreThanTheFirstStepForASyncAtItsEnd) {
  const ScanOutcome outcome = over(concat({filler(4094), {0xff, 0xfb}, filler(100000)}), 8000).fast();
  EXPECT_TRUE(outcome.found);
  EXPECT_EQ(outcome.bytes, 4096U);
}

TEST(CacheScan, EqualsTheStepwiseScanAroundFillStepsAndLimits) {
  for (const unsigned at : {0U, 1U, 4093U, 4094U, 4095U, 4096U, 4097U, 8190U, 8191U, 8192U, 65534U, 65535U, 65536U}) {
    for (const unsigned limit : {at, at + 1, at + 2, 70000U}) {
      for (const size_t behind : {0U, 1U, 2U, 5000U}) {
        expectSame(over(concat({filler(at), {0xff, 0xfb}, filler(behind)}), limit));
        expectSame(over(concat({filler(at), text("fLaC"), filler(behind)}), limit, word));
      }
    }
  }
}

TEST(CacheScan, EqualsTheStepwiseScanInASeekRegion) {
  for (const unsigned start : {1000U, 69990U, 70000U, 70001U, 135534U, 135536U, 135537U}) {
    ScanCase given = over(filler(200000), start + 3000);
    given.seekBefore = 70000;
    given.start = start;
    expectSame(given);
    given.script.bytes[start + 500] = 0xff;
    given.script.bytes[start + 501] = 0xe0;
    expectSame(given);
  }
}

TEST(CacheScan, EqualsTheStepwiseScanOverGeneratedStreams) {
  for (uint32_t seed = 1; seed <= 1500; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto below = [&random](unsigned bound) { return static_cast<unsigned>(random() % bound); };
    ScanCase given;
    given.pattern = below(2) == 0 ? elevenBits : word;
    given.script.bytes.resize(below(4) == 0 ? below(10) : below(14000));
    const unsigned density = 1 + below(400);  // first bytes of a sync, one in so many
    for (unsigned char& byte : given.script.bytes) {
      byte = below(density) == 0 ? given.pattern.value[0] : static_cast<unsigned char>(below(200));
    }
    if (below(2) == 0 && given.script.bytes.size() > 8) {
      const size_t at = below(static_cast<unsigned>(given.script.bytes.size() - 4));
      for (unsigned i = 0; i < given.pattern.length; ++i) {
        given.script.bytes[at + i] = given.pattern.value[i];
      }
    }
    given.start = below(3) == 0 ? below(9000) : 0;
    given.limit = below(2) == 0 ? given.start + 2883 : below(12000);
    given.script.seekable = below(2) == 0;
    given.script.sizeKnown = below(3) != 0;
    given.script.maxRead = below(3) == 0 ? 1 + below(700) : 0;
    if (below(4) == 0) {
      given.script.readFaults[1 + static_cast<int>(below(4))] = -5;
    }
    if (below(4) == 0) {
      given.script.failingOffset = below(9000);
    }
    given.readBefore = below(3) == 0 ? below(6000) : 0;
    given.seekBefore = below(3) == 0 ? static_cast<long long>(below(12000)) : -1;
    expectSame(given);
    if (HasFailure()) {
      return;
    }
  }
}

}  // namespace
}  // namespace zu::md::common::quorin
