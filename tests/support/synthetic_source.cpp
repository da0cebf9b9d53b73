#include "support/synthetic_source.h"

#include <algorithm>
#include <cstdint>

namespace quorin_test {

SyntheticSource::SyntheticSource(long long size) : size_(size) {}

SyntheticSource::~SyntheticSource() = default;

unsigned char SyntheticSource::byteAt(long long offset) {
  const auto mixed = static_cast<uint64_t>(offset) * 0x9E3779B97F4A7C15U;
  return static_cast<unsigned char>(mixed >> 56U);
}

Bytes SyntheticSource::bytesAt(long long offset, size_t count) {
  Bytes bytes(count);
  for (size_t i = 0; i < count; ++i) {
    bytes[i] = byteAt(offset + static_cast<long long>(i));
  }
  return bytes;
}

int SyntheticSource::read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) {
  readOffsets.push_back(position_);
  bytesRead = static_cast<unsigned int>(std::min<long long>(length, std::max(0LL, size_ - position_)));
  for (unsigned int i = 0; i < bytesRead; ++i) {
    buffer[i] = byteAt(position_ + i);
  }
  position_ += bytesRead;
  return 0;
}

int SyntheticSource::seek(long long offset) {
  if (offset < 0) {
    return -22;
  }
  position_ = offset;
  return 0;
}

int SyntheticSource::tell(long long& offset) {
  offset = position_;
  return 0;
}

int SyntheticSource::size(long long& bytes) {
  bytes = size_;
  return 0;
}

int SyntheticSource::getSeekable(bool& seekable) {
  seekable = true;
  return 0;
}

}  // namespace quorin_test
