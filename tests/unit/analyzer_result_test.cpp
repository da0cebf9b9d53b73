#include "framework/analyzer_result.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "support/log_capture.h"

namespace zu::md::common::quorin {
namespace {

static_assert(PROP_SAMPLING_FREQUENCY == 0x001);
static_assert(PROP_BITRATE == 0x002);
static_assert(PROP_DURATION == 0x004);
static_assert(PROP_DATA_START_OFFSET == 0x008);
static_assert(PROP_FRAME_SIZE == 0x010);
static_assert(PROP_DATA_END_OFFSET == 0x020);
static_assert(PROP_TIME_CALC_START_OFFSET == 0x040);
static_assert(PROP_MEDIA_TYPE == 0x080);
static_assert(PROP_CHANNELS == 0x100);
static_assert(sizeof(Property_t) == 4);

static_assert(sizeof(AnalyzerResult::requiredProperties) == 4);
static_assert(sizeof(AnalyzerResult::validProperties) == 4);
static_assert(sizeof(AnalyzerResult::samplingFrequency) == 4);
static_assert(sizeof(AnalyzerResult::bitrate) == 4);
static_assert(sizeof(_obqOsalTime_struct::seconds) == 8 && sizeof(_obqOsalTime_struct::microseconds) == 4);
static_assert(sizeof(AnalyzerResult::dataStartOffset) == 8);
static_assert(sizeof(AnalyzerResult::timeCalcStartOffset) == 8);
static_assert(sizeof(AnalyzerResult::dataEndOffset) == 8);
static_assert(sizeof(AnalyzerResult::frameSize) == 4);
static_assert(sizeof(AnalyzerResult::channels) == 4);
static_assert(sizeof(EmbeddedPicture::offset) == 8 && sizeof(EmbeddedPicture::length) == 4);

TEST(AnalyzerResult, FreshResultHoldsNothing) {
  const AnalyzerResult result(0x1b);
  EXPECT_EQ(result.requiredProperties, 0x1bU);
  EXPECT_EQ(result.validProperties, 0U);
  EXPECT_EQ(result.samplingFrequency, -1);
  EXPECT_EQ(result.bitrate, -1);
  EXPECT_EQ(result.duration.seconds, 0);
  EXPECT_EQ(result.duration.microseconds, 0);
  EXPECT_EQ(result.dataStartOffset, 0);
  EXPECT_EQ(result.timeCalcStartOffset, 0);
  EXPECT_EQ(result.dataEndOffset, -1);
  EXPECT_EQ(result.frameSize, 0);
  EXPECT_EQ(result.channels, 0);
  EXPECT_FALSE(result.canSeek);
  EXPECT_FALSE(result.canSetSpeed);
  EXPECT_FALSE(result.canPause);
  EXPECT_EQ(result.mediaType, MEDIA_TYPE_NONE);
  EXPECT_TRUE(result.embeddedPictures.empty());
}

TEST(AnalyzerResult, IsCompleteWhenEveryRequiredPropertyIsValid) {
  AnalyzerResult result(PROP_BITRATE | PROP_CHANNELS);
  EXPECT_FALSE(result.isComplete());
  result.validProperties = PROP_BITRATE | PROP_DURATION;
  EXPECT_FALSE(result.isComplete());
  result.validProperties |= PROP_CHANNELS;
  EXPECT_TRUE(result.isComplete());
  EXPECT_TRUE(AnalyzerResult(0).isComplete());
}

TEST(AnalyzerResult, GrantSeekingSetsAllThreeCapabilities) {
  AnalyzerResult result(0);
  result.grantSeeking();
  EXPECT_TRUE(result.canSeek);
  EXPECT_TRUE(result.canSetSpeed);
  EXPECT_TRUE(result.canPause);
}

TEST(AnalyzerResult, DebugPrintOfAFreshResult) {
  const quorin_test::LogCapture log;
  AnalyzerResult(0).debugPrint();
  EXPECT_EQ(log.dump(),
            "4000 debugPrint() sampling frequency: -1 0\n"
            "4000 debugPrint() bitrate           : -1 0\n"
            "4000 debugPrint() duration          : [0s+000000us] 0\n"
            "4000 debugPrint() start offset      : 0 0\n"
            "4000 debugPrint() time calc offset  : 0 0\n"
            "4000 debugPrint() end offset        : -1 0\n"
            "4000 debugPrint() frame size        : 0 0\n"
            "4000 debugPrint() media type        : -1 0\n"
            "4000 debugPrint() channels          : 0 0\n"
            "4000 debugPrint() can seek          : 0 \n"
            "4000 debugPrint() can setspeed      : 0 \n"
            "4000 debugPrint() can pause         : 0 \n");
}

TEST(AnalyzerResult, DebugPrintOfAFullResult) {
  AnalyzerResult result(0);
  result.validProperties = 0x1ff;
  result.samplingFrequency = 44100;
  result.bitrate = 128;
  result.duration = {-3000000000LL, 42};
  result.dataStartOffset = 5000000000LL;
  result.timeCalcStartOffset = 5000000001LL;
  result.dataEndOffset = 6000000000LL;
  result.frameSize = 417;
  result.channels = 2;
  result.mediaType = MEDIA_TYPE_AAC_MPEG4;
  result.canSetSpeed = true;
  result.embeddedPictures = {{53, 20480}, {7000000000LL, -1}};
  const quorin_test::LogCapture log;
  result.debugPrint();
  EXPECT_EQ(log.dump(),
            "4000 debugPrint() sampling frequency: 44100 1\n"
            "4000 debugPrint() bitrate           : 128 1\n"
            "4000 debugPrint() duration          : [-3000000000s+000042us] 1\n"
            "4000 debugPrint() start offset      : 5000000000 1\n"
            "4000 debugPrint() time calc offset  : 5000000001 1\n"
            "4000 debugPrint() end offset        : 6000000000 1\n"
            "4000 debugPrint() frame size        : 417 1\n"
            "4000 debugPrint() media type        : 7 1\n"
            "4000 debugPrint() channels          : 2 1\n"
            "4000 debugPrint() can seek          : 0 \n"
            "4000 debugPrint() can setspeed      : 1 \n"
            "4000 debugPrint() can pause         : 0 \n"
            "4000 debugPrint() embedded picture  : len 20480, offset=53 \n"
            "4000 debugPrint() embedded picture  : len -1, offset=7000000000 \n");
}

TEST(AnalyzerResult, DebugPrintShowsEachValidityBitWithItsOwnProperty) {
  const char* const inPrintedOrder[9] = {"sampling", "bitrate", "duration", "start off", "time calc",
                                         "end off",  "frame",   "media",    "channels"};
  const uint32_t bits[9] = {
      PROP_SAMPLING_FREQUENCY, PROP_BITRATE,    PROP_DURATION,   PROP_DATA_START_OFFSET, PROP_TIME_CALC_START_OFFSET,
      PROP_DATA_END_OFFSET,    PROP_FRAME_SIZE, PROP_MEDIA_TYPE, PROP_CHANNELS};
  for (size_t i = 0; i < 9; ++i) {
    AnalyzerResult result(0);
    result.validProperties = bits[i];
    const quorin_test::LogCapture log;
    result.debugPrint();
    for (size_t line = 0; line < 9; ++line) {
      const std::string text = log.lines()[line].text;
      EXPECT_NE(text.find(inPrintedOrder[line]), std::string::npos) << text;
      EXPECT_EQ(text.substr(text.size() - 3), line == i ? " 1\n" : " 0\n") << text;
    }
  }
}

}  // namespace
}  // namespace zu::md::common::quorin
