#include "strell/strell_impl.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "strell/icy_metaint.h"

namespace zu::md::common::strell {

namespace {

/// Tags and headers of nearly all files fit; what lies beyond is reached by `seek`.
constexpr unsigned int seekableHeadCapacity = 65536;
/// Without `seek` the head is all there is to look at, and it has to hold a tag with a cover.
constexpr unsigned int sequentialHeadCapacity = 1048576;
constexpr unsigned int seekRegionCapacity = 65536;
/// The last offset that the cache offset can be moved to; bytes behind it are left to `readData`.
constexpr uint64_t maxCacheOffset = std::numeric_limits<unsigned int>::max();

unsigned int metaintOf(const CheckedSource& source) {
  if (!source.hasHeader()) {
    return 0;
  }
  std::deque<std::string> lines;
  return source.getHeaderList(lines) == 0 ? icyMetaint(lines) : 0;
}

CacheRegion regionFrom(uint64_t start) {
  const uint64_t room = maxCacheOffset - std::min(start, maxCacheOffset);
  return {start, static_cast<unsigned int>(std::min<uint64_t>(seekRegionCapacity, room))};
}

}  // namespace

Strell::Impl::Impl(boost::shared_ptr<MdchUrlBase> url)
    : source_(std::move(url)),
      stream_(source_, metaintOf(source_)),
      head_(0, source_.seekable() ? seekableHeadCapacity : sequentialHeadCapacity),
      seekRegion_(0, 0) {}

int Strell::Impl::readDataCache(unsigned int length, unsigned char*& data) {
  data = cacheOffsetHeld_ ? cached(cacheOffset_, length) : nullptr;
  if (data == nullptr) {
    return cacheOffsetHeld_ ? NOT_CACHED : OFFSET_NOT_CACHED;
  }
  cacheOffset_ += length;
  return 0;
}

const unsigned char* Strell::Impl::peekDataCache(unsigned int& length) {
  CacheRegion& region = regionAtHand(cacheOffset_);
  length = cacheOffsetHeld_ ? region.atHand(cacheOffset_) : 0;
  return length != 0 ? region.at(cacheOffset_) : nullptr;
}

int Strell::Impl::setDataCacheOffset(unsigned int offset) {
  cacheOffset_ = offset;
  cacheOffsetHeld_ = cached(offset, 0) != nullptr;
  return cacheOffsetHeld_ ? 0 : OFFSET_NOT_CACHED;
}

int Strell::Impl::readData(unsigned char* buffer, unsigned int length, unsigned int& bytesRead,
                           std::vector<IcyData>& icy) {
  bytesRead = 0;
  if (length == 0) {
    return 0;
  }
  int status = 0;
  unsigned int got = 0;
  do {
    status = readSome(buffer + bytesRead, length - bytesRead, got);
    bytesRead += got;
  } while (status == 0 && got != 0 && bytesRead < length);
  // A block is passed by the read of the byte behind it, or by the attempt.
  stream_.handOutIcy(bytesRead < length ? readOffset_ : readOffset_ - 1, icy);
  return status == 0 && bytesRead == 0 ? END_OF_STREAM : status;
}

int Strell::Impl::seek(long long offset) {
  long long size = 0;
  if (!source_.seekable() || stream_.hasMetadata() || source_.size(size) != 0) {
    return NOT_SEEKABLE;
  }
  if (offset < 0 || offset > size) {
    return OUT_OF_RANGE;
  }
  const int status = source_.seek(offset);
  if (status != 0) {
    return status;
  }
  readOffset_ = offset;
  seekRegion_ = regionFrom(static_cast<uint64_t>(offset));
  if (static_cast<uint64_t>(offset) <= maxCacheOffset) {
    cacheOffset_ = static_cast<unsigned int>(offset);
    cacheOffsetHeld_ = true;
  }
  return 0;
}

/// The region that has most at hand from `offset` on.
CacheRegion& Strell::Impl::regionAtHand(uint64_t offset) {
  return head_.atHand(offset) >= seekRegion_.atHand(offset) ? head_ : seekRegion_;
}

/// The bytes [offset, offset + length) of one region, null when none can hold them. What was sought is read around
/// the place that was sought; the head is filled there only when that is the only way.
unsigned char* Strell::Impl::cached(uint64_t offset, uint64_t length) {
  if (head_.holds(offset, length)) {
    return head_.at(offset);
  }
  for (CacheRegion* const region : {&seekRegion_, &head_}) {
    if (region->fetch(stream_, offset, length)) {
      return region->at(offset);
    }
  }
  return nullptr;
}

/// Reads from memory what is there, else from the source. Status 0 with 0 bytes is the end.
int Strell::Impl::readSome(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) {
  const auto offset = static_cast<uint64_t>(readOffset_);
  CacheRegion& region = regionAtHand(offset);
  int status = 0;
  bytesRead = std::min(length, region.atHand(offset));
  if (bytesRead != 0) {
    std::memcpy(buffer, region.at(offset), bytesRead);
  } else {
    status = stream_.read(readOffset_, buffer, length, bytesRead);
    head_.keep(offset, buffer, bytesRead);
  }
  readOffset_ += bytesRead;
  return status;
}

}  // namespace zu::md::common::strell
