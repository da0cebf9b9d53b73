#pragma once

#include <cstddef>
#include <vector>

/// @file
/// The last bytes that came over the network, by their stream offset.

namespace md::host {

class HttpWindow {
 public:
  /// Bytes kept behind the newest ones, so that a seek back over what has just been read costs nothing. Twice the first
  /// range: a header that is looked at again never has to be asked for again.
  static constexpr size_t history = size_t{32} * 1024;

  /// Offset behind the newest byte.
  long long end() const { return begin_ + static_cast<long long>(bytes_.size()); }

  bool holds(long long offset) const { return offset >= begin_ && offset < end(); }

  /// The next bytes will be those at `offset`. What is held stays when they continue it.
  void continueAt(long long offset);

  /// Takes the bytes that follow the newest ones; drops old ones beyond `history`.
  void append(const std::vector<unsigned char>& bytes);

  /// Copies the bytes from `offset` on, at most `length`.
  /// @return how many were at hand
  unsigned int copy(long long offset, unsigned char* buffer, unsigned int length) const;

 private:
  long long begin_ = 0;
  std::vector<unsigned char> bytes_;
};

}  // namespace md::host
