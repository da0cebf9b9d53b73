#pragma once

#include <string_view>

#include "support/scripted_source.h"

namespace quorin_test {

/// A format chunk and the header of the data chunk; as it stands CD audio.
struct WavFormat {
  unsigned audioFormat = 1;
  unsigned channels = 2;
  unsigned sampleRate = 44100;
  unsigned long byteRate = 176400;
  unsigned blockAlign = 4;
  unsigned bitsPerSample = 16;
};

Bytes riffHeader(std::string_view form = "WAVE", unsigned long size = 1000);

/// Format chunk and header of the data chunk, 32 bytes.
Bytes wavFormat(const WavFormat& format = WavFormat());

/// Identifier, size and body.
Bytes riffChunk(std::string_view identifier, const Bytes& body);

/// A whole file of exactly `size` bytes.
Bytes wavFile(size_t size, const WavFormat& format = WavFormat());

}  // namespace quorin_test
