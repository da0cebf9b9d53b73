#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

#include "support/scripted_source.h"

namespace quorin_test {

/// What a fuzzer made up. The bytes of an item stand at its front, untouched, so that a real file is a good beginning;
/// how the item behaves is taken from its end, piece by piece. What is not there reads as 0.
class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : begin_(data), end_(data + size) {}

  /// The last `count` bytes as a number, the most significant one last.
  uint64_t number(unsigned count) {
    uint64_t value = 0;
    for (; count > 0 && begin_ != end_; --count) {
      value = value << 8 | *--end_;
    }
    return value;
  }

  /// A text whose length stands behind it in two bytes.
  std::string text() {
    const auto told = static_cast<size_t>(number(2));  // taken before what is left is counted
    const size_t length = std::min(told, left());
    end_ -= length;
    return std::string(end_, end_ + length);
  }

  /// All that is left.
  Bytes bytes() const { return Bytes(begin_, end_); }
  size_t left() const { return static_cast<size_t>(end_ - begin_); }

 private:
  const uint8_t* begin_;
  const uint8_t* end_;
};

/// The lines of a text, each with its end; the last one may have none.
inline std::deque<std::string> linesOf(const std::string& text) {
  std::deque<std::string> lines;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    lines.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return lines;
}

}  // namespace quorin_test
