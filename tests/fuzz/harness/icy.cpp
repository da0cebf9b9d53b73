// Taking the metadata out of an ICY stream: in whatever pieces the stream comes, audio and metadata are those of a
// plain walk from block to block.

#include <string>
#include <vector>

#include "fuzz_input.h"
#include "require.h"
#include "strell/icy_demultiplexer.h"

using namespace quorin_test;
using namespace zu::md::common::strell;

namespace {

struct Separated {
  Bytes audio;
  std::vector<IcyData> icy;
};

Separated bySteps(const Bytes& stream, unsigned metaint) {
  Separated separated;
  size_t at = 0;
  while (at < stream.size()) {
    const size_t end = std::min(stream.size(), at + metaint);
    separated.audio.insert(separated.audio.end(), stream.begin() + static_cast<std::ptrdiff_t>(at),
                           stream.begin() + static_cast<std::ptrdiff_t>(end));
    if (end == stream.size()) {
      break;
    }
    const size_t length = size_t{stream[end]} * 16;
    if (stream.size() - end - 1 < length) {
      break;
    }
    const std::string block(stream.begin() + static_cast<std::ptrdiff_t>(end + 1),
                            stream.begin() + static_cast<std::ptrdiff_t>(end + 1 + length));
    const std::string text(block.c_str());
    if (!text.empty()) {
      separated.icy.push_back({static_cast<long long>(separated.audio.size()), text});
    }
    at = end + 1 + length;
  }
  return separated;
}

/// In pieces whose lengths `sizes` tells; the metadata is taken after each when `atOnce`, else at the end.
Separated inPieces(const Bytes& stream, unsigned metaint, FuzzInput sizes, bool atOnce) {
  IcyDemultiplexer demultiplexer(metaint);
  Separated separated;
  for (size_t at = 0; at < stream.size();) {
    const size_t length = std::min(1 + static_cast<size_t>(sizes.number(1)), stream.size() - at);
    Bytes piece(stream.begin() + static_cast<std::ptrdiff_t>(at),
                stream.begin() + static_cast<std::ptrdiff_t>(at + length));
    const unsigned audio = demultiplexer.separate(piece.data(), static_cast<unsigned>(length));
    require(audio <= length, "no more audio than stream");
    separated.audio.insert(separated.audio.end(), piece.begin(), piece.begin() + audio);
    if (atOnce) {
      demultiplexer.handOut(static_cast<long long>(separated.audio.size()), separated.icy);
    }
    at += length;
  }
  demultiplexer.handOut(static_cast<long long>(separated.audio.size()), separated.icy);
  return separated;
}

void requireSameIcy(const std::vector<IcyData>& one, const std::vector<IcyData>& other) {
  require(one.size() == other.size(), "the same number of blocks");
  for (size_t i = 0; i < one.size(); ++i) {
    require(one[i].offset == other[i].offset && one[i].text == other[i].text, "the same blocks at the same places");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const auto metaint = static_cast<unsigned>(1 + input.number(2));
  const Bytes stream = input.bytes();
  const Separated expected = bySteps(stream, metaint);
  for (const bool atOnce : {false, true}) {
    const Separated separated = inPieces(stream, metaint, input, atOnce);
    require(separated.audio == expected.audio, "the audio of a plain walk");
    if (stream.size() < IcyDemultiplexer::maxKeptBytes / IcyDemultiplexer::keptBlockOverhead) {
      requireSameIcy(separated.icy, expected.icy);  // more than can be kept is dropped
    }
  }
  return 0;
}
