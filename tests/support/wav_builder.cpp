#include "support/wav_builder.h"

#include "support/bytes.h"

namespace quorin_test {

Bytes riffHeader(std::string_view form, unsigned long size) {
  return concat({text("RIFF"), littleEndian(size, 4), text(form)});
}

Bytes wavFormat(const WavFormat& format) {
  constexpr unsigned formatBodySize = 16;
  constexpr unsigned dataSize = 1000;
  return concat({text("fmt "), littleEndian(formatBodySize, 4), littleEndian(format.audioFormat, 2),
                 littleEndian(format.channels, 2), littleEndian(format.sampleRate, 4), littleEndian(format.byteRate, 4),
                 littleEndian(format.blockAlign, 2), littleEndian(format.bitsPerSample, 2), text("data"),
                 littleEndian(dataSize, 4)});
}

Bytes riffChunk(std::string_view identifier, const Bytes& body) {
  return concat({text(identifier), littleEndian(body.size(), 4), body});
}

Bytes wavFile(size_t size, const WavFormat& format) {
  Bytes bytes = concat({riffHeader("WAVE", size - 8), wavFormat(format)});
  bytes.resize(size);
  return bytes;
}

}  // namespace quorin_test
