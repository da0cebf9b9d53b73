#include "framework/log.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"

namespace zu::md::common::quorin {
namespace {

using quorin_test::LogCapture;

static_assert(log::module == 0x68);
static_assert(log::Severe == 1000 && log::Error == 3000 && log::Info == 4000 && log::Debug == 5000);
static_assert(log::registryWord == 16);

int evaluated(int& count) { return ++count; }

TEST(Log, LinesCarryTheModuleAndTheirLevel) {
  const LogCapture log;
  QUORIN_LOG(Severe, "%s\n", "severe");
  QUORIN_LOG(Error, "%s\n", "error");
  QUORIN_LOG(Info, "%s\n", "info");
  QUORIN_LOG(Debug, "%s\n", "debug");
  QUORIN_LOG_RECORD(log::Info, log::registryWord, "%s\n", "registry");
  EXPECT_EQ(log.dump(), "1000 severe\n3000 error\n4000 info\n5000 debug\n4000 registry\n");
  for (const quorin_test::LogLine& line : log.lines()) {
    EXPECT_EQ(line.module, 0x68U);
  }
}

TEST(Log, LinesAboveTheWantedLevelAreLeftOut) {
  const LogCapture log(3000);
  QUORIN_LOG(Severe, "severe\n");
  QUORIN_LOG(Error, "error\n");
  QUORIN_LOG(Info, "info\n");
  QUORIN_LOG(Debug, "debug\n");
  EXPECT_EQ(log.dump(), "1000 severe\n3000 error\n");
}

TEST(Log, ArgumentsOfASilentLineAreNotEvaluated) {
  int count = 0;
  {
    const LogCapture log(4000);
    QUORIN_LOG(Debug, "%i\n", evaluated(count));
    EXPECT_EQ(count, 0);
    QUORIN_LOG(Info, "%i\n", evaluated(count));
    EXPECT_EQ(count, 1);
  }
  QUORIN_LOG(Severe, "%i\n", evaluated(count));
  EXPECT_EQ(count, 1);
}

TEST(Log, LongLinesReachTheSinkWhole) {
  const LogCapture log;
  const std::string longText(70000, 'x');
  QUORIN_LOG(Info, "%s\n", longText.c_str());
  EXPECT_EQ(log.count(4000, longText + "\n"), 1);
}

}  // namespace
}  // namespace zu::md::common::quorin
