#include "support/mpeg_bytes.h"

#include <cstring>

namespace quorin_test {

Bytes MpegHeader::bytes() const {
  return {0xff, static_cast<unsigned char>(0xe0U | version << 3 | layer << 1 | 1U),
          static_cast<unsigned char>(bitrateIndex << 4 | sampleRateIndex << 2 | (padding ? 2U : 0U)),
          static_cast<unsigned char>(channels << 6)};
}

unsigned mpegKilobits(const MpegHeader& header) {
  static constexpr unsigned mpeg1[3][16] = {
      {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0},
      {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, 0},
      {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, 0},
  };
  static constexpr unsigned mpeg2[3][16] = {
      {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
      {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
      {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, 0},
  };
  return (header.version == Mpeg1 ? mpeg1 : mpeg2)[header.layer - 1][header.bitrateIndex];
}

unsigned mpegSampleRate(const MpegHeader& header) {
  static constexpr unsigned mpeg1[4] = {44100, 48000, 32000, 44100};
  const unsigned base = mpeg1[header.sampleRateIndex];
  return header.version == Mpeg1 ? base : header.version == Mpeg2 ? base / 2 : base / 4;
}

unsigned mpegFrameSize(const MpegHeader& header) {
  const unsigned known = mpegKilobits(header);
  const unsigned bits = 1000 * (known == 0 ? 128 : known);
  const unsigned padding = header.padding ? 1 : 0;
  if (header.layer == LayerI) {
    return (12 * bits / mpegSampleRate(header) + padding) * 4;
  }
  const unsigned samples = header.layer == LayerIII && header.version != Mpeg1 ? 576 : 1152;
  return samples / 8 * bits / mpegSampleRate(header) + padding;
}

Bytes mpegFrame(const MpegHeader& header, size_t size) {
  Bytes frame = header.bytes();
  frame.resize(size);
  return frame;
}

Bytes mpegFrame(const MpegHeader& header) { return mpegFrame(header, mpegFrameSize(header)); }

Bytes mpegFrames(size_t count, const MpegHeader& header) { return repeat(mpegFrame(header), count); }

Bytes XingHeader::bytes() const {
  return concat({text(tag), bigEndian(flags, 4), bigEndian(frames, (flags & 1U) != 0 ? 4 : 0),
                 bigEndian(byteCount, (flags & 2U) != 0 ? 4 : 0), filler((flags & 4U) != 0 ? 100 : 0, 0x11),
                 bigEndian(57, (flags & 8U) != 0 ? 4 : 0)});
}

Bytes lameExtension(unsigned method, unsigned bitrate) {
  Bytes extension = text("LAME3.100");
  extension.resize(21);
  extension[9] = static_cast<unsigned char>(method);
  extension[20] = static_cast<unsigned char>(bitrate);
  return extension;
}

Bytes vbriHeader(uint32_t byteCount, uint32_t frames) {
  return concat({text("VBRI"), bigEndian(1, 2), bigEndian(1105, 2), bigEndian(75, 2), bigEndian(byteCount, 4),
                 bigEndian(frames, 4), bigEndian(100, 2), bigEndian(1, 2), bigEndian(2, 2), bigEndian(4, 2)});
}

Bytes infoFrame(const Bytes& info, size_t offset, const MpegHeader& header) {
  return overlay(mpegFrame(header), offset, info);
}

}  // namespace quorin_test
