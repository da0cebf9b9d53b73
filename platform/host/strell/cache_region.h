#pragma once

#include <cstdint>
#include <memory>

#include "strell/audio_stream.h"

namespace zu::md::common::strell {

/// The bytes of the stream from one offset on, as far as they were wanted so far. Memory follows the bytes that
/// really came.
class CacheRegion {
 public:
  /// The region [start, start + capacity), still empty.
  CacheRegion(uint64_t start, unsigned int capacity) : start_(start), capacity_(capacity) {}

  /// Whether the bytes [offset, offset + length) are here. They may be none at all.
  bool holds(uint64_t offset, uint64_t length) const { return offset >= start_ && offset + length <= end(); }

  /// Makes the region hold the bytes [offset, offset + length), reading from `stream` what is missing. A read asks
  /// for as much as a fill step allows; after a short one it goes on only while these bytes are not complete.
  /// @return false when they reach beyond the region, without a read; when the stream ends before, which is
  ///   remembered; or when the stream fails, which is met again by the next call
  bool fetch(AudioStream& stream, uint64_t offset, uint64_t length);

  /// Takes over bytes of the stream that were read elsewhere, if they continue the region and as far as they fit
  /// and memory allows.
  void keep(uint64_t offset, const unsigned char* bytes, unsigned int count);

  /// Number of bytes held from `offset` on.
  unsigned int atHand(uint64_t offset) const;

  /// The byte at `offset`; never null. `offset` must be one the region holds, or its end. Good until the next
  /// `fetch` or `keep`.
  unsigned char* at(uint64_t offset) { return size_ != 0 ? bytes_.get() + (offset - start_) : &nothing_; }

 private:
  uint64_t end() const { return start_ + size_; }
  unsigned int fillLevel(unsigned int size) const;
  void reserve(unsigned int size);

  uint64_t start_;
  unsigned int capacity_;
  unsigned int size_ = 0;
  unsigned int reserved_ = 0;
  bool ended_ = false;  ///< the stream ends at end()
  std::unique_ptr<unsigned char[]> bytes_;
  unsigned char nothing_ = 0;
};

}  // namespace zu::md::common::strell
