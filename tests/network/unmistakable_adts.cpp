#include "unmistakable_adts.h"

#include <gtest/gtest.h>

#include "quorin/analyzer.h"
#include "support/encoders.h"

namespace quorin_test {

namespace {

/// Whether two MPEG frame headers stand in `bytes` in the distance of their frame size.
bool couldBeMpeg(const Bytes& bytes) {
  for (size_t at = 0; at + 4 <= bytes.size(); ++at) {
    int bitrate = 0;
    int rate = 0;
    int size = 0;
    unsigned samples = 0;
    unsigned offset = 0;
    if (zu::md::common::quorin::Analyzer::checkFrameHeader(&bytes[at], bitrate, rate, samples, size, offset) == 1) {
      const Bytes next = slice(bytes, static_cast<long long>(at) + size, 2);
      if (next.size() == 2 && next[0] == 0xff && next[1] >= 0xe0) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace

std::string unmistakableAdts() {
  for (int pitch = 220; pitch < 250; ++pitch) {
    const std::string sound = wave(48000, 2, {"0.5", "sawtooth", std::to_string(pitch)});
    const std::string path = ffmpeg(sound, {"-c:a", "aac", "-b:a", "64k", "-f", "adts"}, ".aac");
    if (!couldBeMpeg(repeat(readFile(path), 2))) {
      return path;
    }
  }
  ADD_FAILURE() << "no such tone";
  return std::string();
}

}  // namespace quorin_test
