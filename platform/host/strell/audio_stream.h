#pragma once

#include <optional>
#include <vector>

#include "strell/checked_source.h"
#include "strell/icy_demultiplexer.h"

namespace zu::md::common::strell {

/// The audio bytes of a source: all of them, or what ICY metadata leaves.
class AudioStream {
 public:
  /// @param source outlives the stream
  /// @param metaint distance of ICY metadata blocks, 0 for none
  AudioStream(CheckedSource& source, unsigned int metaint);

  bool hasMetadata() const { return icy_.has_value(); }

  /// Reads audio bytes: with one call of the source, and with as many more as it takes to get past metadata. Never
  /// takes more from the source than is needed for `length` audio bytes. Status 0 with 0 bytes is the end.
  /// @param offset of the audio; where there is metadata it must be the one behind the bytes read before
  /// @param length above 0
  int read(long long offset, unsigned char* buffer, unsigned int length, unsigned int& bytesRead);

  /// Appends the metadata blocks with audio offsets up to `last` that were not handed out yet.
  void handOutIcy(long long last, std::vector<IcyData>& icy);

 private:
  int readSeparated(unsigned char* buffer, unsigned int length, unsigned int& bytesRead);

  CheckedSource& source_;
  std::optional<IcyDemultiplexer> icy_;
  long long rawOffset_ = 0;  ///< source bytes taken so far; counted only where there is metadata
};

}  // namespace zu::md::common::strell
