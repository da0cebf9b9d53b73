#include "support/adts_builder.h"

#include <algorithm>

#include "support/bytes.h"

namespace quorin_test {

Bytes adtsFrame(const AdtsFrame& frame) {
  constexpr unsigned fullness = 0x7ff;  // variable bitrate
  const auto byte = [](unsigned value) { return static_cast<unsigned char>(value); };
  Bytes bytes = {
      0xff,
      byte(0xf0 | frame.id << 3 | frame.layer << 1 | frame.protectionAbsent),
      byte(frame.profile << 6 | frame.frequencyIndex << 2 | frame.channels >> 2),
      byte((frame.channels & 3) << 6 | frame.length >> 11),
      byte(frame.length >> 3),
      byte((frame.length & 7) << 5 | fullness >> 6),
      byte((fullness & 0x3f) << 2 | frame.rawDataBlocks),
  };
  bytes.resize(std::max<size_t>(bytes.size(), frame.size != 0 ? frame.size : frame.length), 0x21);
  return bytes;
}

Bytes adtsFrames(size_t count, const AdtsFrame& frame) { return repeat(adtsFrame(frame), count); }

}  // namespace quorin_test
