#include "strell/cache_region.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <utility>

namespace zu::md::common::strell {

namespace {

/// What a region is filled up to, in bytes; behind these it doubles. The first is small, because most items are
/// recognised by their first bytes; doubling, so that a region of 1 MiB takes about ten reads and not hundreds. From 16
/// KiB to 64 KiB there is a step between: a frame behind a small cover is wanted there, and nothing else. The last but
/// one leaves room for an ID3v1 tag of 128 bytes: with that, an item of which nearly all of the head is wanted takes 64
/// KiB and not more.
constexpr std::array<unsigned int, 8> fillSteps = {4096, 8192, 16384, 24576, 32768, 49152, 65536 - 128, 65536};
/// Memory of a region from its first fill on. Most items never take more, so what they took need not be moved; it is
/// the memory that is set aside, not the bytes that are read.
constexpr unsigned int leastReserved = 24576;

}  // namespace

bool CacheRegion::fetch(AudioStream& stream, uint64_t offset, uint64_t length) {
  if (offset < start_ || offset + length > start_ + capacity_) {
    return false;
  }
  const auto needed = static_cast<unsigned int>(offset + length - start_);
  while (size_ < needed && !ended_) {
    const unsigned int level = fillLevel(needed);
    reserve(level);
    unsigned int got = 0;
    const int status = stream.read(static_cast<long long>(end()), bytes_.get() + size_, level - size_, got);
    size_ += got;
    if (status != 0) {
      break;
    }
    ended_ = got == 0;
  }
  return size_ >= needed;
}

void CacheRegion::keep(uint64_t offset, const unsigned char* bytes, unsigned int count) {
  const unsigned int kept = offset == end() ? std::min(count, capacity_ - size_) : 0;
  if (kept == 0) {
    return;
  }
  try {
    reserve(fillLevel(size_ + kept));
  } catch (const std::bad_alloc&) {
    return;  // the bytes are on their way to the player, who is not to miss them
  }
  std::memcpy(bytes_.get() + size_, bytes, kept);
  size_ += kept;
}

unsigned int CacheRegion::atHand(uint64_t offset) const {
  return offset >= start_ && offset < end() ? static_cast<unsigned int>(end() - offset) : 0;
}

unsigned int CacheRegion::fillLevel(unsigned int size) const {
  const auto* const step = std::lower_bound(fillSteps.begin(), fillSteps.end(), size);
  unsigned int level = step != fillSteps.end() ? *step : fillSteps.back();
  while (level < size) {
    level *= 2;
  }
  return std::min(level, capacity_);
}

void CacheRegion::reserve(unsigned int size) {
  if (size <= reserved_) {
    return;
  }
  const unsigned int reserved = std::min(std::max(size, leastReserved), capacity_);
  std::unique_ptr<unsigned char[]> larger(new unsigned char[reserved]);  // not zeroed: read into at once
  if (size_ != 0) {
    std::memcpy(larger.get(), bytes_.get(), size_);
  }
  bytes_ = std::move(larger);
  reserved_ = reserved;
}

}  // namespace zu::md::common::strell
