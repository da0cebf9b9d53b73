// What the library decodes from a few bytes: the text fields, headers and sizes of ID3v2 tags, and headers of MPEG
// frames. Every buffer has exactly the bytes that are promised, so that a byte more is noticed.

#include <memory>

#include "formats/id3v2.h"
#include "fuzz_input.h"
#include "quorin/analyzer.h"
#include "require.h"
#include "support/bytes.h"

using namespace quorin_test;
using zu::md::common::quorin::Analyzer;

namespace {

void decodeText(const Bytes& field, size_t room) {
  const size_t held = std::max<size_t>(room, 1);  // an end is written even where there is no room
  const std::unique_ptr<char[]> text(new char[held]);
  std::fill_n(text.get(), held, 'x');
  zu::md::common::quorin::id3v2TextAsUtf8(text.get(), static_cast<int>(room), field.data(),
                                          static_cast<int>(field.size()));
  require(std::find(text.get(), text.get() + held, '\0') != text.get() + held, "a text ends");
}

void decodeHeaders(const Bytes& bytes) {
  constexpr size_t tagHeader = 10;
  constexpr size_t frameHeader = 4;
  unsigned length = 0;
  unsigned footer = 0;
  const Bytes tag = head(bytes, tagHeader);
  if (tag.size() == tagHeader && Analyzer::isID3v2Header(tag.data(), length, footer) == 1) {
    require(length >= tagHeader + footer && (footer == 0 || footer == tagHeader), "a tag holds its header and footer");
  }
  const Bytes frame = head(bytes, frameHeader);
  int bitrate = 0;
  int frequency = 0;
  int frameSize = 0;
  unsigned samples = 0;
  unsigned xing = 0;
  if (frame.size() == frameHeader &&
      Analyzer::checkFrameHeader(frame.data(), bitrate, frequency, samples, frameSize, xing) == 1) {
    require(frameSize > 0 && frequency > 0 && bitrate >= -1, "a frame has a size and a frequency");
    require(samples == 384 || samples == 576 || samples == 1152, "a frame has as many samples as its layer says");
  }
  for (unsigned char count = 3; count <= 4; ++count) {
    const Bytes number = head(bytes, count);
    unsigned value = 0;
    if (number.size() == count) {
      Analyzer::decodeSyncSafeInteger(&value, number.data(), count);
      require(count == 4 || value < 1U << 24, "three bytes make no more than 24 bits");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const auto room = static_cast<size_t>(input.number(1));
  const Bytes bytes = input.bytes();
  decodeText(bytes, room);
  decodeHeaders(bytes);
  return 0;
}
