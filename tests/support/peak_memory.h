#pragma once

#include <cstddef>

namespace quorin_test {

/// The most memory that this process has held since the object was made.
///
/// Sanitizers keep what was freed; `measures` says whether the figure means anything.
class PeakMemory {
 public:
  PeakMemory();

  /// Whether this build frees what it frees.
  static bool measures();

  /// Bytes above what was held at first.
  size_t growth() const;

 private:
  size_t before_;
};

/// A figure of /proc/self/status, such as "VmRSS", in bytes; throws where there is none.
size_t processMemory(const char* name);

}  // namespace quorin_test
