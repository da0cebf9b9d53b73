#pragma once

/// @file
/// The description of an audio stream. What each format tells, and how exact it is, stands in docs/formats.md.

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
/// when the value is not known. Nothing changes once it is in a result, so any number of threads may ask it.
///
/// Offsets count audio bytes from the start of the stream: the metadata of a live stream is taken out before.
class MD_API AudioInfo : public Info {
 public:
  /// Walks over the embedded pictures; good as long as the info lives.
  using PictureIterator = std::list<EmbeddedPicture>::const_iterator;

  /// Used by the analyzers.
  /// @param result shared, not copied; never empty
  /// @param contentType becomes the `mimeType`
  AudioInfo(boost::shared_ptr<AnalyzerResult> result, std::string const& contentType);

  /// As of `Info`.
  ~AudioInfo() override;

  /// Sampling frequency as the item declares it; of HE-AAC that of the core, half of what is heard.
  /// @param hertz receives it, in Hz
  /// @return 0, or -1 when not known
  int getSamplingFrequency(int& hertz) const;

  /// Bitrate: of the whole item, of its first frame, or an estimate, whichever the format tells; of FLAC that of one
  /// channel, uncompressed.
  /// @param bitsPerSecond receives it, a multiple of 1000 as long as it fits 32 bits, else wrapped; 0 for MPEG audio in
  ///   free format. Whatever a live stream says of itself is told, negative numbers too.
  /// @return 0, or -1 when not known
  int getBitrate(int& bitsPerSecond) const;

  /// Playing time of the whole item.
  /// @param duration receives it: whole seconds, of FLAC microseconds too; negative when a tag claims to be
  ///   longer than the item
  /// @return 0, or -1 when not known
  int getDuration(_obqOsalTime_struct& duration) const;

  /// First byte to hand to a decoder.
  /// @param offset receives it
  /// @return 0, or -1 when not known
  int getDataStartOffset(long long& offset) const;

  /// Byte at which playing time 0 lies; the data start offset when the format tells no other.
  /// @param offset receives it
  /// @return 0, or -1 when not known
  int getTimeCalcStartOffset(long long& offset) const;

  /// Last audio byte, inclusive.
  /// @param offset receives it
  /// @return 0, or -1 when not known, such as for a source of unknown size
  int getDataEndOffset(long long& offset) const;

  /// Size of the first frame.
  /// @param bytes receives it, header included
  /// @return 0, or -1 when not known; MPEG audio and ADTS tell it
  int getFrameSize(int& bytes) const;

  /// The audio format.
  /// @param type receives it
  /// @return 0, or -1 when not known
  int getMediaType(MediaType_t& type) const;

  /// Number of channels. Raw PCM alone tells it.
  /// @param channels receives it
  /// @return 0, or -1 when not known
  int getChannels(int& channels) const;

  /// Whether a player may move to another position. Granted together with `canSetSpeed` and `canPause`.
  /// @return false for an item that cannot seek, is of unknown size or no longer than `MaximumHttpHeaderSize`
  bool canSeek() const;

  /// Whether a player may change the speed.
  /// @return as `canSeek`
  bool canSetSpeed() const;

  /// Whether a player may pause.
  /// @return as `canSeek`
  bool canPause() const;

  /// The embedded pictures in the order in which they lie in the item. They are not read: whoever wants one reads
  /// `length` bytes at `offset`.
  /// @return the first; `embeddedPicturesEnd()` when there is none
  PictureIterator embeddedPicturesBegin() const;

  /// The end of the embedded pictures.
  /// @return behind the last
  PictureIterator embeddedPicturesEnd() const;

 private:
  boost::shared_ptr<AnalyzerResult> result_;
};

}  // namespace zu::md::common::quorin
