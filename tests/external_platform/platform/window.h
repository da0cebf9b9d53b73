#pragma once

#include <cstdlib>

namespace memory_platform {

/// Bytes of a stream from one offset on, as many as were wanted so far. Where memory is short it holds fewer: that
/// ends a region early, as an error of the source would.
class Window {
 public:
  Window(unsigned long long start, unsigned int capacity) : start_(start), capacity_(capacity) {}
  ~Window() { std::free(bytes_); }
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  /// Starts over at another place, empty.
  void moveTo(unsigned long long start, unsigned int capacity);

  unsigned long long end() const { return start_ + count_; }

  /// Bytes held from `offset` on.
  unsigned int countFrom(unsigned long long offset) const;

  bool covers(unsigned long long offset, unsigned int length) const {
    return offset >= start_ && offset + length <= end();
  }

  /// Not null, also where nothing is held.
  unsigned char* at(unsigned long long offset) {
    static unsigned char nothing = 0;
    return bytes_ == nullptr ? &nothing : bytes_ + (offset - start_);
  }

  /// Room for the next fill towards offset + length: where to put bytes and how many. None when these bytes are here,
  /// cannot be here, or will not come.
  unsigned char* room(unsigned long long offset, unsigned int length, unsigned int& free);

  void added(unsigned int count) { count_ += count; }

  /// Nothing more will come.
  void close() { isClosed_ = true; }

  /// Takes over bytes that continue it, as far as they fit.
  void append(const unsigned char* bytes, unsigned int count);

 private:
  unsigned int stepOf(unsigned int count) const;
  bool reserve(unsigned int count);

  unsigned long long start_;
  unsigned int capacity_;
  unsigned int count_ = 0;
  unsigned int reserved_ = 0;
  bool isClosed_ = false;
  unsigned char* bytes_ = nullptr;
};

}  // namespace memory_platform
