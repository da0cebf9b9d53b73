#include "framework/cache_scan.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <random>

#include "support/bytes.h"
#include "support/log_capture.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr SyncPattern elevenBits = {2, {0xff, 0xe0, 0, 0}, {0xff, 0xe0, 0, 0}};
constexpr SyncPattern word = {4, {'f', 'L', 'a', 'C'}, {0xff, 0xff, 0xff, 0xff}};
const ReadPlace place = {"Scanner", "scan", 7};

/// What the scan stands for: read, compare, step one byte on.
bool stepwiseScan(strell::Strell& strell, const SyncPattern& pattern, unsigned limit) {
  unsigned position = strell.getDataCacheOffset();
  for (;;) {
    const unsigned char* const bytes = readCached(strell, pattern.length, place);
    if (bytes == nullptr) {
      return false;
    }
    bool matches = true;
    for (unsigned i = 0; i < pattern.length; ++i) {
      matches = matches && (bytes[i] & pattern.mask[i]) == pattern.value[i];
    }
    if (matches) {
      strell.setDataCacheOffset(position);
      return true;
    }
    ++position;
    strell.setDataCacheOffset(position);
    if (position >= limit) {
      return false;
    }
  }
}

/// Everything by which two scans could differ.
struct Outcome {
  bool found;
  unsigned offset;
  std::string log;
  std::vector<unsigned> readLengths;
  std::vector<long long> readOffsets;
  std::vector<long long> seekTargets;
  unsigned long long bytes;
};

/// One scan over a fresh source.
struct Case {
  SourceScript script;
  SyncPattern pattern = elevenBits;
  unsigned start = 0;
  unsigned limit = 0;
  long long seekBefore = -1;  ///< gives the cache a seek region; -1 for none
  unsigned readBefore = 0;    ///< fills the head so far

  template <typename Scan>
  Outcome run(Scan scan) const {
    const auto source = boost::make_shared<ScriptedSource>(script);
    strell::Strell strell;
    strell.attach(source);
    if (readBefore != 0) {
      strell.setDataCacheOffset(readBefore);
    }
    if (seekBefore >= 0) {
      strell.seek(seekBefore);
    }
    strell.setDataCacheOffset(start);
    const LogCapture log;
    const bool found = scan(strell);
    return {found,
            strell.getDataCacheOffset(),
            log.dump(),
            source->calls.readLengths,
            source->calls.readOffsets,
            source->calls.seekTargets,
            source->calls.bytes};
  }

  Outcome fast() const {
    return run([this](strell::Strell& strell) { return scanForSync(strell, pattern, limit, place); });
  }
  Outcome stepwise() const {
    return run([this](strell::Strell& strell) { return stepwiseScan(strell, pattern, limit); });
  }
};

void expectSame(const Case& given) {
  const Outcome fast = given.fast();
  const Outcome stepwise = given.stepwise();
  EXPECT_EQ(fast.found, stepwise.found);
  EXPECT_EQ(fast.offset, stepwise.offset);
  EXPECT_EQ(fast.log, stepwise.log);
  EXPECT_EQ(fast.readLengths, stepwise.readLengths);
  EXPECT_EQ(fast.readOffsets, stepwise.readOffsets);
  EXPECT_EQ(fast.seekTargets, stepwise.seekTargets);
  EXPECT_EQ(fast.bytes, stepwise.bytes);
}

Case over(Bytes bytes, unsigned limit, const SyncPattern& pattern = elevenBits) {
  Case given;
  given.script.bytes = std::move(bytes);
  given.limit = limit;
  given.pattern = pattern;
  return given;
}

TEST(CacheScan, FindsTheFirstSyncAndStandsOnIt) {
  const Outcome outcome = over(concat({filler(5000), {0xff, 0xdf, 0xff, 0xe0, 0xff, 0xfb}, filler(10)}), 8000).fast();
  EXPECT_TRUE(outcome.found);
  EXPECT_EQ(outcome.offset, 5002U);
  EXPECT_EQ(outcome.log, "");
}

TEST(CacheScan, TheLastPositionBeforeTheLimitIsTried) {
  const Outcome outcome = over(concat({filler(1023), text("fLaC"), filler(100)}), 1024, word).fast();
  EXPECT_TRUE(outcome.found);
  EXPECT_EQ(outcome.offset, 1023U);
}

TEST(CacheScan, ASyncAtTheLimitIsNotFoundAndTheOffsetStaysThere) {
  const Outcome outcome = over(concat({filler(1024), text("fLaC"), filler(100)}), 1024, word).fast();
  EXPECT_FALSE(outcome.found);
  EXPECT_EQ(outcome.offset, 1024U);
  EXPECT_EQ(outcome.log, "");
}

TEST(CacheScan, OnePositionIsTriedEvenBehindTheLimit) {
  Case given = over(concat({filler(100), {0xff, 0xfb}, filler(10)}), 50);
  given.start = 100;
  EXPECT_TRUE(given.fast().found);
  given.start = 99;
  const Outcome outcome = given.fast();
  EXPECT_FALSE(outcome.found);
  EXPECT_EQ(outcome.offset, 100U);
}

TEST(CacheScan, WhereTheStreamEndsTheReadFails) {
  const Outcome outcome = over(filler(100, 0xff), 200).fast();
  EXPECT_TRUE(outcome.found);
  const Outcome ended = over(filler(100), 200).fast();
  EXPECT_FALSE(ended.found);
  EXPECT_EQ(ended.offset, 99U);
  EXPECT_EQ(ended.log, "3000 Scanner::scan():# error reading cached data ret=-1003 buffer=(nil)!\n");
}

TEST(CacheScan, ASyncCutByTheEndIsNotFound) {
  const Outcome outcome = over(concat({filler(99), {0xff}}), 200).fast();
  EXPECT_FALSE(outcome.found);
  EXPECT_EQ(outcome.offset, 99U);
}

TEST(CacheScan, ReadsNoMoreThanTheFirstStepForASyncAtItsEnd) {
  const Outcome outcome = over(concat({filler(4094), {0xff, 0xfb}, filler(100000)}), 8000).fast();
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
    Case given = over(filler(200000), start + 3000);
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
    Case given;
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
