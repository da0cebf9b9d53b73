#include "quorin/audio_info.h"

#include "framework/analyzer_result.h"

namespace zu::md::common::quorin {

namespace {

constexpr int valueKnown = 0;
constexpr int valueUnknown = -1;
constexpr uint32_t bitsPerKilobit = 1000;

template <typename Field, typename Value>
int get(const AnalyzerResult& result, Property_t property, Field AnalyzerResult::*field, Value& value) {
  if (!result.has(property)) {
    return valueUnknown;
  }
  value = result.*field;
  return valueKnown;
}

}  // namespace

AudioInfo::AudioInfo(boost::shared_ptr<AnalyzerResult> result, std::string const& contentType)
    : result_(std::move(result)) {
  mimeType = contentType;
}

AudioInfo::~AudioInfo() = default;

int AudioInfo::getSamplingFrequency(int& hertz) const {
  return get(*result_, PROP_SAMPLING_FREQUENCY, &AnalyzerResult::samplingFrequency, hertz);
}

int AudioInfo::getBitrate(int& bitsPerSecond) const {
  int kilobits = 0;
  const int status = get(*result_, PROP_BITRATE, &AnalyzerResult::bitrate, kilobits);
  if (status == valueKnown) {
    // The product wraps in 32 bits: a bitrate comes from the item and may be any number.
    bitsPerSecond = static_cast<int>(static_cast<uint32_t>(kilobits) * bitsPerKilobit);
  }
  return status;
}

int AudioInfo::getDuration(_obqOsalTime_struct& duration) const {
  return get(*result_, PROP_DURATION, &AnalyzerResult::duration, duration);
}

int AudioInfo::getDataStartOffset(long long& offset) const {
  return get(*result_, PROP_DATA_START_OFFSET, &AnalyzerResult::dataStartOffset, offset);
}

int AudioInfo::getTimeCalcStartOffset(long long& offset) const {
  if (!result_->has(PROP_TIME_CALC_START_OFFSET)) {
    return getDataStartOffset(offset);
  }
  return get(*result_, PROP_TIME_CALC_START_OFFSET, &AnalyzerResult::timeCalcStartOffset, offset);
}

int AudioInfo::getDataEndOffset(long long& offset) const {
  return get(*result_, PROP_DATA_END_OFFSET, &AnalyzerResult::dataEndOffset, offset);
}

int AudioInfo::getFrameSize(int& bytes) const {
  return get(*result_, PROP_FRAME_SIZE, &AnalyzerResult::frameSize, bytes);
}

int AudioInfo::getMediaType(MediaType_t& type) const {
  return get(*result_, PROP_MEDIA_TYPE, &AnalyzerResult::mediaType, type);
}

int AudioInfo::getChannels(int& channels) const {
  return get(*result_, PROP_CHANNELS, &AnalyzerResult::channels, channels);
}

bool AudioInfo::canSeek() const { return result_->canSeek; }

bool AudioInfo::canSetSpeed() const { return result_->canSetSpeed; }

bool AudioInfo::canPause() const { return result_->canPause; }

AudioInfo::PictureIterator AudioInfo::embeddedPicturesBegin() const { return result_->embeddedPictures.begin(); }

AudioInfo::PictureIterator AudioInfo::embeddedPicturesEnd() const { return result_->embeddedPictures.end(); }

}  // namespace zu::md::common::quorin
