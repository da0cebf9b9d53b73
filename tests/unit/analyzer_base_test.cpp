#include "framework/analyzer_base.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "framework/status.h"
#include "support/bytes.h"
#include "support/log_capture.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

class SkipData : public testing::Test {
 protected:
  void open(SourceScript script) {
    source = boost::make_shared<ScriptedSource>(std::move(script));
    strell->attach(source);
  }

  static SourceScript scriptOf(size_t size) {
    SourceScript script;
    script.bytes = noise(size);
    return script;
  }

  int skipTo(long long offset) {
    log.clear();
    return AnalyzerBase::skipData(strell, offset);
  }

  long long position() const {
    long long offset = -1;
    strell->tell(offset);
    return offset;
  }

  boost::shared_ptr<ScriptedSource> source;
  boost::shared_ptr<strell::Strell> strell = boost::make_shared<strell::Strell>();
  LogCapture log;
};

TEST_F(SkipData, ReadsInChunksOf10000Bytes) {
  open(scriptOf(40000));
  EXPECT_EQ(skipTo(25000), 0);
  EXPECT_EQ(source->calls.readLengths, (std::vector<unsigned>{10000, 10000, 5000}));
  EXPECT_EQ(position(), 25000);
  EXPECT_EQ(log.dump(),
            "5000 AnalyzerBase::skipData():# to offset 25000.\n"
            "5000 AnalyzerBase::skipData():# skipping 25000 bytes.\n");
}

TEST_F(SkipData, TheNextReadDeliversTheByteAtTheOffset) {
  const SourceScript script = scriptOf(40000);
  open(script);
  EXPECT_EQ(skipTo(12345), 0);
  unsigned char byte = 0;
  unsigned got = 0;
  std::vector<strell::IcyData> icy;
  EXPECT_EQ(strell->readData(&byte, 1, got, icy), 0);
  EXPECT_EQ(byte, script.bytes[12345]);
}

TEST_F(SkipData, ShortReadsAreContinued) {
  SourceScript script = scriptOf(40000);
  script.maxRead = 3000;
  open(script);
  EXPECT_EQ(skipTo(25000), 0);
  EXPECT_EQ(position(), 25000);
  EXPECT_EQ(source->calls.bytes, 25000U);
}

TEST_F(SkipData, ToTheReadPositionReadsNothing) {
  open(scriptOf(40000));
  EXPECT_EQ(skipTo(100), 0);
  const int reads = source->calls.reads;
  EXPECT_EQ(skipTo(100), 0);
  EXPECT_EQ(source->calls.reads, reads);
  EXPECT_EQ(log.dump(),
            "5000 AnalyzerBase::skipData():# to offset 100.\n"
            "5000 AnalyzerBase::skipData():# skipping 0 bytes.\n");
}

TEST_F(SkipData, NeverGoesBack) {
  open(scriptOf(40000));
  EXPECT_EQ(skipTo(100), 0);
  EXPECT_EQ(skipTo(99), STATUS_BEHIND);
  EXPECT_EQ(position(), 100);
  EXPECT_EQ(source->calls.seeks, 0);
  EXPECT_EQ(log.dump(),
            "5000 AnalyzerBase::skipData():# to offset 99.\n"
            "3000 AnalyzerBase::skipData():# error current offset behind offset. cur=100 offs=99!\n");
}

TEST_F(SkipData, NeedsMediaAccess) {
  strell.reset();
  EXPECT_EQ(skipTo(100), STATUS_NO_ARGUMENT);
  EXPECT_EQ(log.dump(),
            "5000 AnalyzerBase::skipData():# to offset 100.\n"
            "3000 AnalyzerBase::skipData():# need strell \n");
}

TEST_F(SkipData, PassesOnThatThereIsNoReadPosition) {
  EXPECT_EQ(skipTo(100), strell::NOT_ATTACHED);
  EXPECT_EQ(log.dump(),
            "5000 AnalyzerBase::skipData():# to offset 100.\n"
            "3000 AnalyzerBase::skipData():# error getting current offset. err=-1001!\n");
}

TEST_F(SkipData, AReadErrorEndsItAndIsNotReported) {
  SourceScript script = scriptOf(40000);
  script.failingOffset = 15000;
  script.failingOffsetCode = -7;
  open(script);
  EXPECT_EQ(skipTo(25000), 0);
  EXPECT_EQ(log.dump(),
            "5000 AnalyzerBase::skipData():# to offset 25000.\n"
            "5000 AnalyzerBase::skipData():# skipping 25000 bytes.\n"
            "3000 AnalyzerBase::skipData():# error reading data err=-7!\n");
}

TEST_F(SkipData, TheEndOfTheStreamEndsIt) {
  open(scriptOf(15000));
  EXPECT_EQ(skipTo(25000), 0);
  EXPECT_EQ(position(), 15000);
  EXPECT_EQ(log.count(3000, log.lines().back().text), 1);
  EXPECT_EQ(withoutSourceLines(log.lines().back().text), "AnalyzerBase::skipData():# error reading data err=-1005!\n");
}

TEST_F(SkipData, OffsetsBeyond32BitsAreSkippedInWholeChunks) {
  // 2^32 exactly: its low 32 bits are 0, which must not make a chunk of no bytes.
  open(scriptOf(15000));
  EXPECT_EQ(skipTo(1LL << 32), 0);
  EXPECT_EQ(source->calls.readLengths.front(), 10000U);
  EXPECT_EQ(position(), 15000);
  EXPECT_EQ(log.countContaining("skipping 4294967296 bytes."), 1);
}

TEST_F(SkipData, ReachesItsTargetAlsoWithMetadataInTheStream) {
  // One audio byte, then a block of 16 bytes, over and over.
  SourceScript script;
  script.bytes = repeat(concat({{'a', 1}, text("StreamTitle='x'"), {0}}), 3000);
  script.seekable = false;
  strell->attach(boost::make_shared<ScriptedHttpSource>(script, std::deque<std::string>{"icy-metaint: 1\r\n"}));
  EXPECT_EQ(skipTo(2500), 0);
  EXPECT_EQ(position(), 2500);
}

}  // namespace
}  // namespace zu::md::common::quorin
