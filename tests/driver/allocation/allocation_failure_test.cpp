#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <new>

#include "counted_allocation.h"
#include "framework/status.h"
#include "obq/debug.h"
#include "quorin/analyzer.h"
#include "support/describe.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

/// Collects log lines without failing itself.
class QuietLog {
 public:
  QuietLog() {
    obq::setDebugSink([this](uint32_t, uint32_t level, std::string_view line) {
      const int left = allocationsLeft;
      allocationsLeft = never;
      text += std::to_string(level) + ' ' + std::string(line);
      allocationsLeft = left;
    });
    obq::setDebugLevel(0x68, 5000);
  }
  ~QuietLog() {
    obq::setDebugLevel(0x68, 0);
    obq::setDebugSink(obq::DebugSink());
  }
  QuietLog(const QuietLog&) = delete;
  QuietLog& operator=(const QuietLog&) = delete;

  std::string text;
};

class AllocationFailure : public testing::Test {
 protected:
  AllocationFailure() {
    script.bytes = concat({Id3v2Tag().around(id3v2Picture(3, noise(500))), mpegFrames(60)});
    ::md::registerUrlScheme("memory",
                            [this](const std::string&, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
                              source = boost::make_shared<ScriptedSource>(script);
                              url = source;
                              return 0;
                            });
    params.uri = "memory:item";
  }
  ~AllocationFailure() override { ::md::registerUrlScheme("memory", ::md::UrlOpener()); }

  /// Analyses while only the first `allocations` succeed. False when one of them was refused by an exception.
  bool analyzeWith(int allocations) {
    source.reset();
    allocationsLeft = allocations;
    try {
      status = analyzer.analyze(params, result);
      allocationsLeft = never;
      return true;
    } catch (const std::bad_alloc&) {
      allocationsLeft = never;
      return false;
    }
  }

  SourceScript script;
  boost::shared_ptr<ScriptedSource> source;
  strell::OpenParams params;
  Analyzer analyzer = Analyzer(Analyzer::MODE_AUDIO);
  boost::shared_ptr<AnalyzeResult> result;
  int status = 0;
};

TEST_F(AllocationFailure, WithoutMemoryForTheResultThereIsNone) {
  const QuietLog log;
  ASSERT_TRUE(analyzeWith(never));
  ASSERT_TRUE(result);
  EXPECT_TRUE(analyzeWith(0));
  EXPECT_EQ(status, STATUS_NO_MEMORY);
  EXPECT_FALSE(result);
  EXPECT_NE(log.text.find("4000 Analyzer::Impl::analyze() analyze 'memory:item'.\n"
                          "3000 Analyzer::Impl::analyze() out of memory.\n"),
            std::string::npos);
}

TEST_F(AllocationFailure, EveryOneIsToldAndLeavesNothingOpen) {
  ASSERT_TRUE(analyzeWith(never));
  const std::string expected = describe(result->info.get());
  int failures = 0;
  for (int allocations = 0;; ++allocations) {
    ASSERT_LT(allocations, 1000);
    if (analyzeWith(allocations)) {
      if (status == 0) {
        break;
      }
      EXPECT_EQ(status, STATUS_NO_MEMORY);
    } else {
      ++failures;
      ASSERT_TRUE(result);
      EXPECT_FALSE(result->info);
    }
    result.reset();
    EXPECT_LE(source.use_count(), 1) << "still open after allocation " << allocations;
  }
  EXPECT_GT(failures, 5);
  EXPECT_EQ(describe(result->info.get()), expected);
}

}  // namespace
}  // namespace zu::md::common::quorin
