#pragma once

#include <string>
#include <vector>

#include "support/scripted_source.h"

namespace quorin_test {

enum FlacBlockType : unsigned {
  FlacStreaminfo = 0,
  FlacPadding = 1,
  FlacApplication = 2,
  FlacSeekTable = 3,
  FlacVorbisComment = 4,
  FlacCueSheet = 5,
  FlacPicture = 6
};

/// Size of a STREAMINFO body, bytes.
constexpr unsigned flacStreaminfoSize = 34;

/// What a STREAMINFO block tells; as it stands 10 seconds of CD audio.
struct FlacProperties {
  unsigned minBlockSize = 4096;
  unsigned maxBlockSize = 4096;
  unsigned minFrameSize = 14;
  unsigned maxFrameSize = 13000;
  unsigned sampleRate = 44100;
  unsigned channels = 2;
  unsigned bitsPerSample = 16;
  unsigned long long totalSamples = 441000;
};

struct FlacCover {
  unsigned type = 3;
  std::string mime = "image/png";
  std::string description = "cover";
  Bytes data = {1, 2, 3, 4, 5};
};

struct FlacBlock {
  unsigned type;
  Bytes body;
  long long declaredLength = -1;  ///< -1 for the truth
};

Bytes flacStreaminfoBody(const FlacProperties& properties = FlacProperties());
FlacBlock flacStreaminfo(const FlacProperties& properties = FlacProperties());
Bytes flacPictureBody(const FlacCover& cover = FlacCover());
FlacBlock flacPicture(const FlacCover& cover = FlacCover());
FlacBlock flacPadding(size_t length);

/// Header of a block.
Bytes flacBlockHeader(unsigned type, bool isLast, size_t length);

/// Marker and blocks, the last of them marked as such.
Bytes flacMetadata(const std::vector<FlacBlock>& blocks);

/// The same with `audio` bytes behind, among which no marker is.
Bytes flacFile(const std::vector<FlacBlock>& blocks, size_t audio);

}  // namespace quorin_test
