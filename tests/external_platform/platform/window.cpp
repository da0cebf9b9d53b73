#include "window.h"

#include <cstring>
#include <initializer_list>

namespace memory_platform {

void Window::moveTo(unsigned long long start, unsigned int capacity) {
  std::free(bytes_);
  bytes_ = nullptr;
  start_ = start;
  capacity_ = capacity;
  count_ = 0;
  reserved_ = 0;
  isClosed_ = false;
}

unsigned int Window::countFrom(unsigned long long offset) const {
  return covers(offset, 0) ? static_cast<unsigned int>(end() - offset) : 0;
}

unsigned char* Window::room(unsigned long long offset, unsigned int length, unsigned int& free) {
  free = 0;
  const unsigned long long wanted = offset - start_ + length;
  if (offset < start_ || wanted > capacity_ || wanted <= count_ || isClosed_) {
    return nullptr;
  }
  const unsigned int step = stepOf(static_cast<unsigned int>(wanted));
  if (!reserve(step)) {
    return nullptr;
  }
  free = step - count_;
  return bytes_ + count_;
}

void Window::append(const unsigned char* bytes, unsigned int count) {
  const unsigned int fitting = count < capacity_ - count_ ? count : capacity_ - count_;
  if (fitting != 0 && reserve(stepOf(count_ + fitting))) {
    std::memcpy(bytes_ + count_, bytes, fitting);
    count_ += fitting;
  }
}

/// The fill that `count` bytes take, in the steps that the interface tells.
unsigned int Window::stepOf(unsigned int count) const {
  unsigned int step = 65536;
  for (const unsigned int smaller : {65408U, 49152U, 32768U, 24576U, 16384U, 8192U, 4096U}) {
    step = count <= smaller ? smaller : step;
  }
  while (step < count) {
    step *= 2;
  }
  return step < capacity_ ? step : capacity_;
}

bool Window::reserve(unsigned int count) {
  if (count <= reserved_) {
    return true;
  }
  void* const larger = std::realloc(bytes_, count);
  if (larger == nullptr) {
    return false;
  }
  bytes_ = static_cast<unsigned char*>(larger);
  reserved_ = count;
  return true;
}

}  // namespace memory_platform
