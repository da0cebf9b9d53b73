#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <list>
#include <string>

#include "obq/time.h"
#include "quorin/info.h"

namespace zu::md::common::quorin {

struct AnalyzerResult;

/// A picture stored inside the item.
struct EmbeddedPicture {
  int64_t offset;  ///< first byte of the picture data, in bytes from the start of the stream
  int32_t length;  ///< bytes, as the tag declares it: it may be negative or reach beyond the end of a damaged item
};

/// An audio stream. The value getters return 0 and store the value, or return -1 and leave the argument untouched
/// when the value is not known.
class MD_API AudioInfo : public Info {
 public:
  using PictureIterator = std::list<EmbeddedPicture>::const_iterator;

  /// Used by the analyzers. `result` is shared, not copied.
  AudioInfo(boost::shared_ptr<AnalyzerResult> result, std::string const& contentType);
  ~AudioInfo() override;

  int getSamplingFrequency(int& hertz) const;
  int getBitrate(int& bitsPerSecond) const;
  int getDuration(_obqOsalTime_struct& duration) const;

  /// First byte to hand to a decoder, in bytes from the start of the stream.
  int getDataStartOffset(long long& offset) const;

  /// Byte at which playing time 0 lies; the data start offset when the format tells no other.
  int getTimeCalcStartOffset(long long& offset) const;

  /// Last audio byte, inclusive.
  int getDataEndOffset(long long& offset) const;

  /// Size of the first frame in bytes.
  int getFrameSize(int& bytes) const;
  int getMediaType(MediaType_t& type) const;
  int getChannels(int& channels) const;

  bool canSeek() const;      ///< a player may move to another position
  bool canSetSpeed() const;  ///< a player may change the speed
  bool canPause() const;     ///< a player may pause

  /// The embedded pictures in the order in which they lie in the item.
  PictureIterator embeddedPicturesBegin() const;
  PictureIterator embeddedPicturesEnd() const;

 private:
  boost::shared_ptr<AnalyzerResult> result_;
};

}  // namespace zu::md::common::quorin
