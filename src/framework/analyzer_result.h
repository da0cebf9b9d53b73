#pragma once

#include <cstdint>
#include <list>

#include "obq/time.h"
#include "quorin/audio_info.h"
#include "quorin/info.h"

namespace zu::md::common::quorin {

/// Validity bits of an AnalyzerResult. Their order is not the order of the fields; both are fixed.
enum Property_t : uint32_t {
  PROP_SAMPLING_FREQUENCY = 0x001,
  PROP_BITRATE = 0x002,
  PROP_DURATION = 0x004,
  PROP_DATA_START_OFFSET = 0x008,
  PROP_FRAME_SIZE = 0x010,
  PROP_DATA_END_OFFSET = 0x020,
  PROP_TIME_CALC_START_OFFSET = 0x040,
  PROP_MEDIA_TYPE = 0x080,
  PROP_CHANNELS = 0x100
};

/// What an analyzer found out. A property is set by writing its field and adding its bit to `validProperties`; no bit
/// is ever taken back. Shared by the analyzer that fills it and the AudioInfo made of it.
struct AnalyzerResult {
  explicit AnalyzerResult(unsigned int required) : requiredProperties(required) {}

  bool has(Property_t property) const { return (validProperties & property) != 0; }
  bool isComplete() const { return (requiredProperties & ~validProperties) == 0; }

  /// Grants a player everything that takes a source whose position can be changed.
  void grantSeeking() { canSeek = canSetSpeed = canPause = true; }

  /// Logs every property, one line each.
  void debugPrint() const;

  uint32_t requiredProperties;     ///< bits without which the stream does not count as recognised
  uint32_t validProperties = 0;    ///< bits of the properties that hold a value
  int32_t samplingFrequency = -1;  ///< Hz
  int32_t bitrate = -1;            ///< kbit/s
  _obqOsalTime_struct duration = {0, 0};
  int64_t dataStartOffset = 0;      ///< first byte of audio data
  int64_t timeCalcStartOffset = 0;  ///< where playing time counts from, when that is another byte
  int64_t dataEndOffset = -1;       ///< last byte of audio data
  int32_t frameSize = 0;            ///< bytes
  int32_t channels = 0;
  bool canSeek = false;
  bool canSetSpeed = false;
  bool canPause = false;
  MediaType_t mediaType = MEDIA_TYPE_NONE;
  std::list<EmbeddedPicture> embeddedPictures;  ///< in the order found
};

}  // namespace zu::md::common::quorin
