#include "framework/analysis_steps.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "framework/at_exit.h"
#include "support/bytes.h"
#include "support/log_capture.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr FormatWords words = {"AnalyzerAudioThing", "THING", "THINGS"};

class FindStream : public testing::Test {
 protected:
  FindStream() {
    SourceScript script;
    script.bytes = filler(20000);
    strell.attach(boost::make_shared<ScriptedSource>(script));
  }

  /// A search of candidates that lie at every place, whose check leaves the cache offset at `candidate + step`.
  bool find(unsigned maxScan, unsigned step, unsigned acceptedFrom) {
    return findStream(
        strell, words, maxScan, [] { return true; },
        [&] {
          const unsigned candidate = strell.getDataCacheOffset();
          candidates.push_back(candidate);
          strell.setDataCacheOffset(candidate + step);
          return candidate >= acceptedFrom;
        });
  }

  strell::Strell strell;
  std::vector<unsigned> candidates;
};

constexpr unsigned never = UINT32_MAX;

TEST_F(FindStream, BeginsAtTheStartOfTheStream) {
  strell.setDataCacheOffset(500);
  EXPECT_TRUE(find(1024, 0, 0));
  EXPECT_EQ(candidates, std::vector<unsigned>{0});
}

TEST_F(FindStream, GoesOnOneByteBehindTheEndOfTheCheck) {
  EXPECT_TRUE(find(1024, 9, 20));
  EXPECT_EQ(candidates, (std::vector<unsigned>{0, 10, 20}));
}

TEST_F(FindStream, StopsSilentlyAtItsBound) {
  const LogCapture log;
  EXPECT_FALSE(find(3, 0, never));
  EXPECT_EQ(candidates, (std::vector<unsigned>{0, 1, 2}));
  EXPECT_EQ(log.dump(),
            "4000 AnalyzerAudioThing::analyze(): analyzing THING not successfull\n"
            "4000 AnalyzerAudioThing::analyze(): analyzing THING not successfull\n"
            "4000 AnalyzerAudioThing::analyze(): analyzing THING not successfull\n");
}

TEST_F(FindStream, StopsWhereTheCacheOffsetStartsOver) {
  EXPECT_FALSE(find(1024, UINT32_MAX - 5, never));
  EXPECT_EQ(candidates, std::vector<unsigned>{0});
  candidates.clear();
  EXPECT_FALSE(find(1024, UINT32_MAX, never));
  EXPECT_EQ(candidates, std::vector<unsigned>{0});
}

TEST_F(FindStream, TellsThatThereIsNoCandidate) {
  const LogCapture log;
  EXPECT_FALSE(findStream(
      strell, words, 1024, [] { return false; }, [] { return true; }));
  EXPECT_EQ(log.dump(), "4000 AnalyzerAudioThing::analyze(): no THING header found\n");
}

TEST(AtExit, CallsOnEveryWayOut) {
  int calls = 0;
  {
    const AtExit count([&calls] { ++calls; });
    EXPECT_EQ(calls, 0);
  }
  EXPECT_EQ(calls, 1);
  EXPECT_THROW(
      {
        const AtExit count([&calls] { ++calls; });
        throw 1;
      },
      int);
  EXPECT_EQ(calls, 2);
}

}  // namespace
}  // namespace zu::md::common::quorin
