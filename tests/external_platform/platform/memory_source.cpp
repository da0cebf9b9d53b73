#include "memory_source.h"

#include <cstring>
#include <utility>

namespace memory_platform {

namespace {

constexpr int negativeOffset = -22;

}  // namespace

MemorySource::MemorySource(boost::shared_ptr<const std::vector<unsigned char>> bytes) : bytes_(std::move(bytes)) {}

MemorySource::~MemorySource() = default;

int MemorySource::read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) {
  const unsigned long long left = next_ < bytes_->size() ? bytes_->size() - next_ : 0;
  bytesRead = left < length ? static_cast<unsigned int>(left) : length;
  if (bytesRead != 0) {
    std::memcpy(buffer, bytes_->data() + next_, bytesRead);
  }
  next_ += bytesRead;
  cost_.bytes += bytesRead;
  ++cost_.reads;
  return 0;
}

int MemorySource::seek(long long offset) {
  if (offset < 0) {
    return negativeOffset;
  }
  next_ = static_cast<unsigned long long>(offset);
  return 0;
}

int MemorySource::tell(long long& offset) {
  offset = static_cast<long long>(next_);
  return 0;
}

int MemorySource::size(long long& bytes) {
  bytes = static_cast<long long>(bytes_->size());
  return 0;
}

int MemorySource::getSeekable(bool& seekable) {
  seekable = true;
  return 0;
}

UrlCost MemorySource::cost() const { return cost_; }

}  // namespace memory_platform
