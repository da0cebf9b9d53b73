#include "framework/analyzer_result.h"

#include "framework/log.h"

namespace zu::md::common::quorin {

void AnalyzerResult::debugPrint() const {
  static const char* const name = "debugPrint";
  const auto valid = [this](Property_t property) { return has(property) ? 1 : 0; };
  const auto longLong = [](int64_t value) { return static_cast<long long>(value); };
  QUORIN_LOG(Info, "%s() sampling frequency: %i %i\n", name, samplingFrequency, valid(PROP_SAMPLING_FREQUENCY));
  QUORIN_LOG(Info, "%s() bitrate           : %i %i\n", name, bitrate, valid(PROP_BITRATE));
  QUORIN_LOG(Info, "%s() duration          : [%llds+%06dus] %i\n", name, longLong(duration.seconds),
             duration.microseconds, valid(PROP_DURATION));
  QUORIN_LOG(Info, "%s() start offset      : %lli %i\n", name, longLong(dataStartOffset),
             valid(PROP_DATA_START_OFFSET));
  QUORIN_LOG(Info, "%s() time calc offset  : %lli %i\n", name, longLong(timeCalcStartOffset),
             valid(PROP_TIME_CALC_START_OFFSET));
  QUORIN_LOG(Info, "%s() end offset        : %lli %i\n", name, longLong(dataEndOffset), valid(PROP_DATA_END_OFFSET));
  QUORIN_LOG(Info, "%s() frame size        : %i %i\n", name, frameSize, valid(PROP_FRAME_SIZE));
  QUORIN_LOG(Info, "%s() media type        : %i %i\n", name, static_cast<int>(mediaType), valid(PROP_MEDIA_TYPE));
  QUORIN_LOG(Info, "%s() channels          : %i %i\n", name, channels, valid(PROP_CHANNELS));
  QUORIN_LOG(Info, "%s() can seek          : %i \n", name, canSeek);
  QUORIN_LOG(Info, "%s() can setspeed      : %i \n", name, canSetSpeed);
  QUORIN_LOG(Info, "%s() can pause         : %i \n", name, canPause);
  for (const EmbeddedPicture& picture : embeddedPictures) {
    QUORIN_LOG(Info, "%s() embedded picture  : len %i, offset=%lli \n", name, picture.length, longLong(picture.offset));
  }
}

}  // namespace zu::md::common::quorin
