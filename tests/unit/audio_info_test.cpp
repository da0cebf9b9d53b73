#include "quorin/audio_info.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "framework/analyzer_result.h"

namespace zu::md::common::quorin {
namespace {

/// A result with a distinct value in every field.
boost::shared_ptr<AnalyzerResult> fullResult() {
  const auto result = boost::make_shared<AnalyzerResult>(0U);
  result->samplingFrequency = 44100;
  result->bitrate = 128;
  result->duration = {130, 250000};
  result->dataStartOffset = 5000000000LL;
  result->timeCalcStartOffset = 5000000001LL;
  result->dataEndOffset = 6000000000LL;
  result->frameSize = 417;
  result->channels = 2;
  result->mediaType = MEDIA_TYPE_MP3;
  return result;
}

/// What the getter answers to a caller whose variable holds `before`.
template <typename Value>
std::pair<int, Value> ask(const AudioInfo& info, int (AudioInfo::*getter)(Value&) const, Value before) {
  const int status = (info.*getter)(before);
  return {status, before};
}

template <typename Value>
using Answer = std::pair<int, Value>;

TEST(AudioInfo, FreshResultAnswersNothingAndLeavesArgumentsUntouched) {
  const AudioInfo info(boost::make_shared<AnalyzerResult>(0U), "audio/mpeg");
  EXPECT_EQ(ask(info, &AudioInfo::getSamplingFrequency, 77), Answer<int>(-1, 77));
  EXPECT_EQ(ask(info, &AudioInfo::getBitrate, 77), Answer<int>(-1, 77));
  EXPECT_EQ(ask(info, &AudioInfo::getDataStartOffset, 77LL), Answer<long long>(-1, 77));
  EXPECT_EQ(ask(info, &AudioInfo::getTimeCalcStartOffset, 77LL), Answer<long long>(-1, 77));
  EXPECT_EQ(ask(info, &AudioInfo::getDataEndOffset, 77LL), Answer<long long>(-1, 77));
  EXPECT_EQ(ask(info, &AudioInfo::getFrameSize, 77), Answer<int>(-1, 77));
  EXPECT_EQ(ask(info, &AudioInfo::getMediaType, MEDIA_TYPE_WAV), Answer<MediaType_t>(-1, MEDIA_TYPE_WAV));
  EXPECT_EQ(ask(info, &AudioInfo::getChannels, 77), Answer<int>(-1, 77));
  _obqOsalTime_struct duration = {77, 78};
  EXPECT_EQ(info.getDuration(duration), -1);
  EXPECT_EQ(duration.seconds, 77);
  EXPECT_EQ(duration.microseconds, 78);
  EXPECT_FALSE(info.canSeek());
  EXPECT_FALSE(info.canSetSpeed());
  EXPECT_FALSE(info.canPause());
  EXPECT_EQ(info.embeddedPicturesBegin(), info.embeddedPicturesEnd());
}

TEST(AudioInfo, EachGetterIsAnsweredByItsOwnBitAlone) {
  const auto result = fullResult();
  const AudioInfo info(result, "audio/mpeg");
  for (uint32_t bit = 1; bit <= PROP_CHANNELS; bit <<= 1) {
    result->validProperties = bit;
    const auto known = [bit](Property_t property) { return bit == property ? 0 : -1; };
    _obqOsalTime_struct duration = {};
    EXPECT_EQ(ask(info, &AudioInfo::getSamplingFrequency, 0).first, known(PROP_SAMPLING_FREQUENCY));
    EXPECT_EQ(ask(info, &AudioInfo::getBitrate, 0).first, known(PROP_BITRATE));
    EXPECT_EQ(info.getDuration(duration), known(PROP_DURATION));
    EXPECT_EQ(ask(info, &AudioInfo::getDataStartOffset, 0LL).first, known(PROP_DATA_START_OFFSET));
    EXPECT_EQ(ask(info, &AudioInfo::getDataEndOffset, 0LL).first, known(PROP_DATA_END_OFFSET));
    EXPECT_EQ(ask(info, &AudioInfo::getFrameSize, 0).first, known(PROP_FRAME_SIZE));
    EXPECT_EQ(ask(info, &AudioInfo::getMediaType, MEDIA_TYPE_NONE).first, known(PROP_MEDIA_TYPE));
    EXPECT_EQ(ask(info, &AudioInfo::getChannels, 0).first, known(PROP_CHANNELS));
  }
}

TEST(AudioInfo, KnownValuesAreHandedOut) {
  const auto result = fullResult();
  result->validProperties = 0x1ff;
  const AudioInfo info(result, "audio/mpeg");
  EXPECT_EQ(ask(info, &AudioInfo::getSamplingFrequency, 0), Answer<int>(0, 44100));
  EXPECT_EQ(ask(info, &AudioInfo::getDataStartOffset, 0LL), Answer<long long>(0, 5000000000LL));
  EXPECT_EQ(ask(info, &AudioInfo::getTimeCalcStartOffset, 0LL), Answer<long long>(0, 5000000001LL));
  EXPECT_EQ(ask(info, &AudioInfo::getDataEndOffset, 0LL), Answer<long long>(0, 6000000000LL));
  EXPECT_EQ(ask(info, &AudioInfo::getFrameSize, 0), Answer<int>(0, 417));
  EXPECT_EQ(ask(info, &AudioInfo::getMediaType, MEDIA_TYPE_NONE), Answer<MediaType_t>(0, MEDIA_TYPE_MP3));
  EXPECT_EQ(ask(info, &AudioInfo::getChannels, 0), Answer<int>(0, 2));
  _obqOsalTime_struct duration = {};
  EXPECT_EQ(info.getDuration(duration), 0);
  EXPECT_EQ(duration.seconds, 130);
  EXPECT_EQ(duration.microseconds, 250000);
}

TEST(AudioInfo, BitrateIsHandedOutInBitsPerSecond) {
  const auto result = fullResult();
  result->validProperties = PROP_BITRATE;
  EXPECT_EQ(ask(AudioInfo(result, "audio/mpeg"), &AudioInfo::getBitrate, 0), Answer<int>(0, 128000));
}

TEST(AudioInfo, BitrateBeyond32BitsWraps) {
  const auto result = fullResult();
  result->validProperties = PROP_BITRATE;
  result->bitrate = 4294967;  // 4294967000 bit/s
  EXPECT_EQ(ask(AudioInfo(result, "audio/mpeg"), &AudioInfo::getBitrate, 0), Answer<int>(0, -296));
}

TEST(AudioInfo, TimeCalcStartFallsBackToTheDataStart) {
  const auto result = fullResult();
  result->validProperties = PROP_DATA_START_OFFSET;
  const AudioInfo info(result, "audio/mpeg");
  EXPECT_EQ(ask(info, &AudioInfo::getTimeCalcStartOffset, 0LL), Answer<long long>(0, 5000000000LL));
  result->validProperties = 0;
  EXPECT_EQ(ask(info, &AudioInfo::getTimeCalcStartOffset, 77LL), Answer<long long>(-1, 77));
  result->validProperties = PROP_TIME_CALC_START_OFFSET;
  EXPECT_EQ(ask(info, &AudioInfo::getTimeCalcStartOffset, 0LL), Answer<long long>(0, 5000000001LL));
}

TEST(AudioInfo, EachCapabilityIsItsOwnFlag) {
  const auto result = boost::make_shared<AnalyzerResult>(0U);
  const AudioInfo info(result, "audio/mpeg");
  result->canSetSpeed = true;
  EXPECT_FALSE(info.canSeek());
  EXPECT_TRUE(info.canSetSpeed());
  EXPECT_FALSE(info.canPause());
  result->canSetSpeed = false;
  result->canSeek = true;
  EXPECT_TRUE(info.canSeek());
  result->canPause = true;
  EXPECT_TRUE(info.canPause());
}

TEST(AudioInfo, PicturesComeInTheOrderFound) {
  const auto result = boost::make_shared<AnalyzerResult>(0U);
  result->embeddedPictures = {{900, 5}, {100, 7}};
  const AudioInfo info(result, "audio/mpeg");
  auto picture = info.embeddedPicturesBegin();
  EXPECT_EQ(picture->offset, 900);
  EXPECT_EQ(picture->length, 5);
  ++picture;
  EXPECT_EQ(picture->offset, 100);
  EXPECT_EQ(picture->length, 7);
  EXPECT_EQ(++picture, info.embeddedPicturesEnd());
}

TEST(AudioInfo, SharesItsResultAndCopiesItsContentType) {
  auto result = boost::make_shared<AnalyzerResult>(0U);
  std::string contentType = "audio/mpeg";
  const AudioInfo info(result, contentType);
  EXPECT_EQ(result.use_count(), 2);
  contentType = "other";
  EXPECT_EQ(info.mimeType, "audio/mpeg");
}

}  // namespace
}  // namespace zu::md::common::quorin
