#include "support/flac_builder.h"

#include "support/bytes.h"

namespace quorin_test {

Bytes flacStreaminfoBody(const FlacProperties& properties) {
  const unsigned long long bits = static_cast<unsigned long long>(properties.sampleRate) << 44 |
                                  static_cast<unsigned long long>(properties.channels - 1) << 41 |
                                  static_cast<unsigned long long>(properties.bitsPerSample - 1) << 36 |
                                  properties.totalSamples;
  constexpr size_t md5Size = 16;
  return concat({bigEndian(properties.minBlockSize, 2), bigEndian(properties.maxBlockSize, 2),
                 bigEndian(properties.minFrameSize, 3), bigEndian(properties.maxFrameSize, 3), bigEndian(bits, 8),
                 filler(md5Size)});
}

FlacBlock flacStreaminfo(const FlacProperties& properties) { return {FlacStreaminfo, flacStreaminfoBody(properties)}; }

Bytes flacPictureBody(const FlacCover& cover) {
  constexpr size_t shapeSize = 16;  // width, height, colour depth, colour count
  return concat({bigEndian(cover.type, 4), bigEndian(cover.mime.size(), 4), text(cover.mime),
                 bigEndian(cover.description.size(), 4), text(cover.description), filler(shapeSize),
                 bigEndian(cover.data.size(), 4), cover.data});
}

FlacBlock flacPicture(const FlacCover& cover) { return {FlacPicture, flacPictureBody(cover)}; }

FlacBlock flacPadding(size_t length) { return {FlacPadding, filler(length)}; }

Bytes flacBlockHeader(unsigned type, bool isLast, size_t length) {
  return concat({{static_cast<unsigned char>((isLast ? 0x80 : 0) | type)}, bigEndian(length, 3)});
}

Bytes flacMetadata(const std::vector<FlacBlock>& blocks) {
  Bytes bytes = text("fLaC");
  for (const FlacBlock& block : blocks) {
    const size_t length = block.declaredLength >= 0 ? static_cast<size_t>(block.declaredLength) : block.body.size();
    bytes = concat({bytes, flacBlockHeader(block.type, &block == &blocks.back(), length), block.body});
  }
  return bytes;
}

Bytes flacFile(const std::vector<FlacBlock>& blocks, size_t audio) {
  return concat({flacMetadata(blocks), filler(audio)});
}

}  // namespace quorin_test
