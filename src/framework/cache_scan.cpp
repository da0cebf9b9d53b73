#include "framework/cache_scan.h"

#include <algorithm>
#include <cstring>

namespace zu::md::common::quorin {

namespace {

bool matches(const SyncPattern& pattern, const unsigned char* data) {
  for (unsigned int i = 0; i < pattern.length; ++i) {
    if ((data[i] & pattern.mask[i]) != pattern.value[i]) {
      return false;
    }
  }
  return true;
}

/// Index of the first sync that starts in data[0, starts), or `starts`.
unsigned int findSync(const SyncPattern& pattern, const unsigned char* data, unsigned int starts) {
  unsigned int index = 0;
  while (index < starts) {
    const void* hit = std::memchr(data + index, pattern.value[0], starts - index);
    if (hit == nullptr) {
      return starts;
    }
    index = static_cast<unsigned int>(static_cast<const unsigned char*>(hit) - data);
    if (matches(pattern, data + index)) {
      return index;
    }
    ++index;
  }
  return starts;
}

}  // namespace

bool scanForSync(strell::Strell& strell, const SyncPattern& pattern, unsigned int limit, const ReadPlace& place) {
  unsigned int position = strell.getDataCacheOffset();
  do {
    unsigned int atHand = 0;
    const unsigned char* data = strell.peekDataCache(atHand);
    if (data == nullptr || atHand < pattern.length) {
      // The step that makes the cache fetch more, and that fails where the stream ends.
      atHand = pattern.length;
      data = readCached(strell, pattern.length, place);
      if (data == nullptr) {
        return false;
      }
    }
    const unsigned int untried = std::max(limit, position + 1) - position;
    const unsigned int starts = std::min(atHand - pattern.length + 1, untried);
    const unsigned int index = findSync(pattern, data, starts);
    position += index;
    strell.setDataCacheOffset(position);
    if (index < starts) {
      return true;
    }
  } while (position < limit);
  return false;
}

}  // namespace zu::md::common::quorin
