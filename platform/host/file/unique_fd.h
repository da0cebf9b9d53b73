#pragma once

#include <unistd.h>

#include <utility>

namespace md::host {

/// Owns a file descriptor and closes it.
class UniqueFd {
 public:
  UniqueFd() = default;
  /// @param descriptor a negative number means none, so the result of open() fits
  explicit UniqueFd(int descriptor) : descriptor_(descriptor) {}
  UniqueFd(UniqueFd&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() {
    if (descriptor_ >= 0) {
      ::close(descriptor_);
    }
  }

  explicit operator bool() const { return descriptor_ >= 0; }
  int get() const { return descriptor_; }
  /// Gives the descriptor to the caller.
  int release() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_ = -1;
};

}  // namespace md::host
