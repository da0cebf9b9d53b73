#include "quorin/audio_info.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "framework/analyzer_result.h"

namespace zu::md::common::quorin {
namespace {

TEST(AudioInfo, BitrateIsHandedOutInBitsPerSecond) {
  const auto result = boost::make_shared<AnalyzerResult>(0U);
  result->bitrate = 128;
  result->validProperties = PROP_BITRATE;
  int bitrate = 0;
  EXPECT_EQ(AudioInfo(result, "audio/mpeg").getBitrate(bitrate), 0);
  EXPECT_EQ(bitrate, 128000);
}

}  // namespace
}  // namespace zu::md::common::quorin
