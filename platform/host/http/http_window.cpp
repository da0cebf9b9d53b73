#include "http/http_window.h"

#include <algorithm>
#include <cstring>

namespace md::host {

void HttpWindow::continueAt(long long offset) {
  if (offset != end()) {
    begin_ = offset;
    bytes_.clear();
  }
}

void HttpWindow::append(const std::vector<unsigned char>& bytes) {
  // Only when twice too many are held: then a stream that comes in small pieces does not move them all for each piece.
  if (bytes_.size() > 2 * history) {
    const size_t old = bytes_.size() - history;
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(old));
    begin_ += static_cast<long long>(old);
  }
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

unsigned int HttpWindow::copy(long long offset, unsigned char* buffer, unsigned int length) const {
  if (!holds(offset)) {
    return 0;
  }
  const auto count = static_cast<unsigned int>(std::min<long long>(length, end() - offset));
  std::memcpy(buffer, bytes_.data() + (offset - begin_), count);
  return count;
}

}  // namespace md::host
