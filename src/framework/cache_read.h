#pragma once

#include "strell/strell.h"

namespace zu::md::common::quorin {

/// Who reads, for the line that reports a failure.
struct ReadPlace {
  const char* analyzer;   ///< class name
  const char* operation;  ///< operation name
  int line;               ///< number in the line: the source line, or the literal one that a format fixes
};

/// Reads `length` bytes at the cache offset.
/// @return the bytes, good until the next call on `strell`; null after logging the failure when the cache does not
///   hold them
const unsigned char* readCached(strell::Strell& strell, unsigned int length, const ReadPlace& place);

}  // namespace zu::md::common::quorin
