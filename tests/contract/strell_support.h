#pragma once

/// @file
/// Calls of Strell as values, for the tests of this folder.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "strell/strell.h"
#include "support/scripted_source.h"

namespace quorin_test {

namespace strell = zu::md::common::strell;

#ifdef STRELL_WITHOUT_PEEK
constexpr bool strellCanPeek = false;
#else
constexpr bool strellCanPeek = true;
#endif
constexpr const char* noPeek = "this platform shows nothing without asking";

/// A block as a pair, which compares and prints.
using Icy = std::pair<long long, std::string>;

struct DataRead {
  int status = 0;
  Bytes bytes;
  std::vector<Icy> icy;
};

/// One readData; fails the test when it writes behind what it delivers.
DataRead readData(strell::Strell& media, unsigned int length);

struct CacheRead {
  int status = 0;
  bool null = false;  ///< the pointer
  Bytes bytes;        ///< empty on failure
};

/// One readDataCache; fails the test when status and pointer disagree, or the offset does not follow.
CacheRead readCache(strell::Strell& media, unsigned int length);

/// setDataCacheOffset and readDataCache; their first failure.
CacheRead readCacheAt(strell::Strell& media, unsigned int offset, unsigned int length);

long long tell(strell::Strell& media);

/// A source and the Strell it is attached to.
struct Attached {
  /// @param metaint when above 0 the source has a response header with the line "icy-metaint: `metaint`"
  explicit Attached(const SourceScript& script, unsigned int metaint = 0);

  boost::shared_ptr<ScriptedSource> source;
  strell::Strell media;
};

}  // namespace quorin_test
