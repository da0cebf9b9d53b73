#pragma once

#include <array>

#include "framework/cache_read.h"
#include "strell/strell.h"

namespace zu::md::common::quorin {

/// The bytes by which a format announces itself. A byte matches when it equals `value` in the bits of `mask`; the
/// first byte must be given whole.
struct SyncPattern {
  unsigned int length;  ///< 2 to 4 bytes
  std::array<unsigned char, 4> value;
  std::array<unsigned char, 4> mask;
};

/// Moves the cache offset forward to the next sync.
///
/// Equal in result, log line and final cache offset to reading `pattern.length` bytes, comparing and stepping one byte
/// on, at every position from the cache offset to `limit` - 1; it only looks at all bytes at hand at once. It never
/// makes the source read more than those steps would.
/// @param limit the first position that is not tried any more; at least one position is tried
/// @return true with the cache offset on the sync; false with it at `limit`, or where the cache ends after logging the
///   failed read
bool scanForSync(strell::Strell& strell, const SyncPattern& pattern, unsigned int limit, const ReadPlace& place);

}  // namespace zu::md::common::quorin
