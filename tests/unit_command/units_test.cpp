#include "output/units.h"

#include <gtest/gtest.h>

namespace quorin_command {
namespace {

TEST(Units, DigitsAreGroupedByThree) {
  EXPECT_EQ(grouped(0), "0");
  EXPECT_EQ(grouped(999), "999");
  EXPECT_EQ(grouped(1000), "1 000");
  EXPECT_EQ(grouped(1651147), "1 651 147");
  EXPECT_EQ(grouped(-100), "-100");
  EXPECT_EQ(grouped(-123456), "-123 456");
  EXPECT_EQ(grouped(INT64_MIN), "-9 223 372 036 854 775 808");
}

TEST(Units, BytesGrowIntoBinaryUnits) {
  EXPECT_EQ(byteCount(0), "0 bytes");
  EXPECT_EQ(byteCount(1), "1 byte");
  EXPECT_EQ(byteCount(1023), "1023 bytes");
  EXPECT_EQ(byteCount(1024), "1.0 KiB");
  EXPECT_EQ(byteCount(8397), "8.2 KiB");
  EXPECT_EQ(byteCount(102348), "99.9 KiB");
  EXPECT_EQ(byteCount(102400), "100 KiB");
  EXPECT_EQ(byteCount(1048575), "1.0 MiB");
  EXPECT_EQ(byteCount(INT64_MAX), "8192 PiB");
  EXPECT_EQ(byteCount(-5), "-5 bytes");
}

TEST(Units, OneOfAKindIsNoPlural) {
  EXPECT_EQ(counted(0, "read"), "0 reads");
  EXPECT_EQ(counted(1, "read"), "1 read");
  EXPECT_EQ(counted(2, "read"), "2 reads");
}

TEST(Units, AShareIsNeverRoundedToNothingOrAll) {
  EXPECT_EQ(percentage(0, 100), "0.0 %");
  EXPECT_EQ(percentage(1, 1000000), "< 0.1 %");
  EXPECT_EQ(percentage(1, 2000), "0.1 %");
  EXPECT_EQ(percentage(123, 1000), "12.3 %");
  EXPECT_EQ(percentage(999999, 1000000), "> 99.9 %");
  EXPECT_EQ(percentage(100, 100), "100.0 %");
  EXPECT_EQ(percentage(0, 0), "100.0 %");
}

TEST(Units, FrequenciesKeepTheirDigits) {
  EXPECT_EQ(frequency(44100), "44.1 kHz");
  EXPECT_EQ(frequency(8000), "8 kHz");
  EXPECT_EQ(frequency(11025), "11.025 kHz");
}

TEST(Units, BitRatesAreInKilobits) { EXPECT_EQ(bitRate(128000), "128 kbit/s"); }

TEST(Units, OneAndTwoChannelsHaveNames) {
  EXPECT_EQ(channelCount(1), "mono");
  EXPECT_EQ(channelCount(2), "stereo");
  EXPECT_EQ(channelCount(6), "6 channels");
}

TEST(Units, PlayingTimeIsAClock) {
  EXPECT_EQ(playingTime({0, 0}), "0.0 s");
  EXPECT_EQ(playingTime({9, 940000}), "9.9 s");
  EXPECT_EQ(playingTime({9, 990000}), "9.9 s");
  EXPECT_EQ(playingTime({10, 0}), "0:10");
  EXPECT_EQ(playingTime({130, 999999}), "2:10");
  EXPECT_EQ(playingTime({3723, 0}), "1:02:03");
}

TEST(Units, AClockShowsHoursWhenThereAreSome) {
  EXPECT_EQ(clockTime(7), "0:07");
  EXPECT_EQ(clockTime(3599), "59:59");
  EXPECT_EQ(clockTime(36000 + 61), "10:01:01");
}

TEST(Units, ANegativePlayingTimeIsShownAsItIs) { EXPECT_EQ(playingTime({-3, -500000}), "-3.5 s"); }

TEST(Units, ElapsedTimeIsInMillisecondsThenSeconds) {
  EXPECT_EQ(elapsedTime(40), "0.0 ms");
  EXPECT_EQ(elapsedTime(430), "0.4 ms");
  EXPECT_EQ(elapsedTime(123456), "123 ms");
  EXPECT_EQ(elapsedTime(1234567), "1.2 s");
}

}  // namespace
}  // namespace quorin_command
