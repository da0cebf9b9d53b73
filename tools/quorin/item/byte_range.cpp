#include "item/byte_range.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace quorin_command {

namespace {

using namespace zu::md::common::strell;

/// Pieces of a range. A single read of much tells a server what is wanted; the limit is for the memory it takes.
constexpr long long largestPiece = 4LL * 1024 * 1024;

/// Pieces of what is played. Small, because a live stream is not to be held back until a large piece is full.
constexpr unsigned int playedPiece = 4096;

/// Bytes at the start of a source that can seek which stay in its cache. A source that cannot seek keeps more, and what
/// an analysis says of it lies there.
constexpr long long headSize = 65536;

std::string_view view(const unsigned char* bytes, size_t count) {
  return {reinterpret_cast<const char*>(bytes), count};
}

bool liesInHead(Strell& strell, long long end) {
  bool seekable = false;
  const bool canMove = strell.getSeekable(seekable) == 0 && seekable;
  return end <= (canMove ? headSize : UINT32_MAX);
}

int readFromHead(Strell& strell, long long offset, unsigned int length,
                 const std::function<void(std::string_view)>& sink) {
  unsigned char* bytes = nullptr;
  int status = strell.setDataCacheOffset(static_cast<unsigned int>(offset));
  status = status != 0 ? status : strell.readDataCache(length, bytes);
  if (status == 0) {
    sink(view(bytes, length));
  }
  return status;
}

}  // namespace

int readRange(Strell& strell, long long offset, unsigned int length,
              const std::function<void(std::string_view)>& sink) {
  if (length == 0) {
    sink({});
    return 0;
  }
  if (liesInHead(strell, offset + length)) {
    return readFromHead(strell, offset, length, sink);
  }
  int status = strell.seek(offset);
  std::vector<unsigned char> buffer(static_cast<size_t>(std::min<long long>(length, largestPiece)));
  std::vector<IcyData> metadata;
  for (unsigned int got = 0; status == 0 && length > 0; length -= got) {
    const auto wanted = static_cast<unsigned int>(std::min<long long>(length, largestPiece));
    status = strell.readData(buffer.data(), wanted, got, metadata);
    sink(view(buffer.data(), got));
  }
  return status;
}

int readOn(Strell& strell, long long end, const std::function<bool(std::string_view)>& sink,
           const std::function<void(const std::string&)>& onMetadata) {
  std::array<unsigned char, playedPiece> buffer = {};
  std::vector<IcyData> metadata;
  int status = 0;
  for (bool goesOn = true; goesOn && status == 0;) {
    long long position = 0;
    strell.tell(position);
    const long long left = end < 0 ? playedPiece : std::clamp<long long>(end - position, 0, playedPiece);
    unsigned int got = 0;
    metadata.clear();
    status = left == 0 ? END_OF_STREAM : strell.readData(buffer.data(), static_cast<unsigned int>(left), got, metadata);
    for (const IcyData& block : metadata) {
      onMetadata(block.text);
    }
    goesOn = got == 0 || sink(view(buffer.data(), got));
  }
  return status == END_OF_STREAM ? 0 : status;
}

}  // namespace quorin_command
