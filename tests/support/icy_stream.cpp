#include "support/icy_stream.h"

#include <algorithm>

namespace quorin_test {

Bytes icyBlock(const std::string& text) {
  const size_t units = std::min<size_t>((text.size() + 15) / 16, 255);
  Bytes block(1 + units * 16, 0);
  block[0] = static_cast<unsigned char>(units);
  std::copy_n(text.begin(), std::min(text.size(), units * 16), block.begin() + 1);
  return block;
}

Bytes icyStream(const Bytes& audio, unsigned int metaint, const std::vector<std::string>& texts) {
  Bytes stream;
  size_t index = 0;
  for (size_t offset = 0; offset < audio.size(); offset += metaint) {
    const size_t count = std::min<size_t>(metaint, audio.size() - offset);
    const auto from = audio.begin() + static_cast<std::ptrdiff_t>(offset);
    stream.insert(stream.end(), from, from + static_cast<std::ptrdiff_t>(count));
    if (count == metaint) {
      if (index < texts.size() && !texts[index].empty()) {
        const Bytes block = icyBlock(texts[index]);
        stream.insert(stream.end(), block.begin(), block.end());
      } else {
        stream.push_back(0);
      }
      ++index;
    }
  }
  return stream;
}

}  // namespace quorin_test
