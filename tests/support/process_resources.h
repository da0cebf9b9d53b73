#pragma once

#include <cstddef>

/// @file
/// What this process takes of the machine.

namespace quorin_test {

/// Whether this program runs as it is: without a sanitizer, which keeps what was freed, and without an emulator, which
/// has memory of its own. Both take ten times as long.
bool runsNatively();

/// The most memory that this process has held since the object was made.
class PeakMemory {
 public:
  PeakMemory();

  /// Bytes above what was held at first; 0 unless `runsNatively`, where it would mean nothing.
  size_t growth() const;

 private:
  size_t before_;
};

/// Bytes of this process that are in memory.
size_t residentMemory();

/// Bytes that were allocated and not freed.
size_t heapInUse();

size_t openDescriptors();

}  // namespace quorin_test
