#pragma once

#include "support/bytes.h"

/// @file
/// MPEG audio frames (ISO/IEC 11172-3, 13818-3, MPEG-2.5) and the information headers that encoders put into the
/// first one.

namespace quorin_test {

/// Field values as they stand in a frame header.
enum MpegVersion : unsigned { Mpeg25 = 0, MpegReservedVersion = 1, Mpeg2 = 2, Mpeg1 = 3 };
enum MpegLayer : unsigned { ReservedLayer = 0, LayerIII = 1, LayerII = 2, LayerI = 3 };
enum MpegChannels : unsigned { Stereo = 0, JointStereo = 1, DualChannel = 2, SingleChannel = 3 };

/// A frame header. As it comes: MPEG-1 Layer III, 128 kbit/s, 44100 Hz, stereo, FF FB 90 00.
struct MpegHeader {
  MpegVersion version = Mpeg1;
  MpegLayer layer = LayerIII;
  unsigned bitrateIndex = 9;  ///< 0 free format, 15 forbidden
  unsigned sampleRateIndex = 0;
  bool padding = false;
  MpegChannels channels = Stereo;

  Bytes bytes() const;
};

/// kbit/s by the standard's tables; 0 for free format and the forbidden index.
unsigned mpegKilobits(const MpegHeader& header);

/// Hz by the standard; the reserved index reads as the first.
unsigned mpegSampleRate(const MpegHeader& header);

/// Bytes of a frame by the standard; as for 128 kbit/s when the header tells no bitrate.
unsigned mpegFrameSize(const MpegHeader& header);

/// A frame: the header and zeros, `size` bytes in all.
Bytes mpegFrame(const MpegHeader& header, size_t size);
Bytes mpegFrame(const MpegHeader& header = MpegHeader());

/// `count` frames in a row.
Bytes mpegFrames(size_t count, const MpegHeader& header = MpegHeader());

/// A Xing header. Fields stand in it when their flag does.
struct XingHeader {
  const char* tag = "Xing";
  uint32_t flags = 0x0f;
  uint32_t frames = 0;
  uint32_t byteCount = 0;

  Bytes bytes() const;
};

/// The 21 bytes of a LAME extension that matter.
Bytes lameExtension(unsigned method, unsigned bitrate);

/// The 26 bytes of a VBRI header.
Bytes vbriHeader(uint32_t byteCount, uint32_t frames);

/// Bytes from a frame's start to its Xing header, and to its VBRI header.
constexpr size_t xingOffsetStereo = 36;
constexpr size_t vbriOffset = 36;

/// A frame that holds `info` at `offset`.
Bytes infoFrame(const Bytes& info, size_t offset = xingOffsetStereo, const MpegHeader& header = MpegHeader());

}  // namespace quorin_test
