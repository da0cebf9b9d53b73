#include "url/time_limits.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace {

using md::host::parseTimeLimits;
using md::host::TimeLimits;
using std::chrono::milliseconds;

TEST(TimeLimits, NoTextMeansTheDefaults) {
  for (const char* text : {static_cast<const char*>(nullptr), ""}) {
    TimeLimits limits;
    limits.connect = limits.stall = limits.total = milliseconds(1);
    ASSERT_TRUE(parseTimeLimits(text, limits));
    EXPECT_EQ(limits.connect, milliseconds(10000));
    EXPECT_EQ(limits.stall, milliseconds(15000));
    EXPECT_EQ(limits.total, milliseconds(0));
  }
}

TEST(TimeLimits, EachPartMayBeMissingAndTheOrderIsFree) {
  TimeLimits limits;
  ASSERT_TRUE(parseTimeLimits("total=60;connect=2", limits));
  EXPECT_EQ(limits.connect, milliseconds(2000));
  EXPECT_EQ(limits.stall, milliseconds(15000));
  EXPECT_EQ(limits.total, milliseconds(60000));
}

TEST(TimeLimits, ASemicolonMayEndTheText) {
  TimeLimits limits;
  ASSERT_TRUE(parseTimeLimits("stall=3;", limits));
  EXPECT_EQ(limits.stall, milliseconds(3000));
}

TEST(TimeLimits, DecimalsAreKeptToTheMillisecondAndRoundedUp) {
  const struct {
    const char* text;
    int expected;
  } cases[] = {{"stall=1.5", 1500},     {"stall=.25", 250},   {"stall=2.", 2000},     {"stall=0", 0},
               {"stall=0.0000", 0},     {"stall=0.0001", 1},  {"stall=1.0019", 1002}, {"stall=1.9990000001", 2000},
               {"stall=1.99900", 1999}, {"stall=0.00011", 1}, {"stall=007", 7000},    {"stall=1000000", 1000000000}};
  for (const auto& c : cases) {
    TimeLimits limits;
    ASSERT_TRUE(parseTimeLimits(c.text, limits)) << c.text;
    EXPECT_EQ(limits.stall, milliseconds(c.expected)) << c.text;
  }
}

TEST(TimeLimits, AnythingElseIsRefusedAndChangesNothing) {
  for (const char* text : {";",
                           "stall",
                           "stall=",
                           "stall=;",
                           "=5",
                           "stall=-1",
                           "stall=+1",
                           "stall=nan",
                           "stall=inf",
                           "stall=1e3",
                           "stall=0x10",
                           "stall=1,5",
                           "stall=1.2.3",
                           "stall=.",
                           "stall= 1",
                           "stall=1 ",
                           " stall=1",
                           "Stall=1",
                           "stalled=1",
                           "stall=1;;",
                           ";stall=1",
                           "stall=1;stall=1",
                           "stall=1s",
                           "stall=1000000.001",
                           "stall==1",
                           "stall=1000001",
                           "read=5",
                           "stall=1,total=2",
                           "stall=1;x",
                           "connect=1;;total=2",
                           "stall=99999999999999999999999",
                           "5",
                           "stall=\xD9\xA1"}) {
    TimeLimits limits;
    limits.stall = milliseconds(77);
    EXPECT_FALSE(parseTimeLimits(text, limits)) << text;
    EXPECT_EQ(limits.stall, milliseconds(77)) << text;
  }
}

TEST(TimeLimits, TheLocaleMakesNoDifference) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
    GTEST_SKIP() << "no locale with a decimal comma on this machine";
  }
  TimeLimits limits;
  EXPECT_TRUE(parseTimeLimits("stall=1.5", limits));
  EXPECT_FALSE(parseTimeLimits("stall=1,5", limits));
  std::setlocale(LC_ALL, before.c_str());
  EXPECT_EQ(limits.stall, milliseconds(1500));
}

}  // namespace
