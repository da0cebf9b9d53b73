#pragma once

#include "support/scripted_source.h"

namespace quorin_test {

/// One ADTS frame. As it stands: MPEG-4, AAC LC, 44100 Hz, 2 channels, 16 bytes, no checksum.
struct AdtsFrame {
  unsigned id = 0;
  unsigned layer = 0;
  unsigned protectionAbsent = 1;
  unsigned profile = 1;
  unsigned frequencyIndex = 4;
  unsigned channels = 2;
  unsigned rawDataBlocks = 0;  ///< as the header counts them: one less than there are
  unsigned length = 16;        ///< bytes, as the header tells
  unsigned size = 0;           ///< bytes really there; 0 for `length`, at least the header
};

/// The frame; behind the header it holds no sync.
Bytes adtsFrame(const AdtsFrame& frame = AdtsFrame());

/// `count` such frames.
Bytes adtsFrames(size_t count, const AdtsFrame& frame = AdtsFrame());

}  // namespace quorin_test
