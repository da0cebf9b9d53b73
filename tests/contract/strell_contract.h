#pragma once

/// @file
/// The kinds of sources that Strell is tested over. A new kind joins with a row in strell_contract.cpp; the rules that
/// hold over all of them are in strell_contract_test.cpp, long random use is in strell_model_test.cpp.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "strell_support.h"

namespace quorin_test {

/// One row of the suite.
struct StrellKind {
  std::string name;          ///< letters and digits; part of the test names
  SourceScript script;       ///< how the source behaves; its bytes are those of the test
  unsigned int metaint = 0;  ///< distance of ICY blocks, 0 for none

  /// Whether Strell::seek works.
  bool canSeek() const { return script.seekable && script.seekableFault == 0 && script.sizeKnown && metaint == 0; }

  /// Capacity of the head.
  unsigned int head() const { return script.seekable && script.seekableFault == 0 ? 65536 : 1048576; }
};

/// The text of the block behind `offset` audio bytes: every third is empty, and most are when they are close.
std::string icyTextAt(long long offset, unsigned int metaint);

/// The blocks at audio offsets from `begin` to `end`, both included.
std::vector<Icy> icyBetween(long long begin, long long end, unsigned int metaint);

/// A source of this kind whose audio is `audio`.
SourceScript scriptOf(const StrellKind& kind, const Bytes& audio);

inline std::string strellKindName(const testing::TestParamInfo<StrellKind>& kind) { return kind.param.name; }

inline void PrintTo(const StrellKind& kind, std::ostream* out) { *out << kind.name; }

/// The kinds that every suite over Strell runs with.
std::vector<StrellKind> strellKinds();

class StrellContract : public testing::TestWithParam<StrellKind> {
 protected:
  SourceScript scriptOf(const Bytes& audio) const { return quorin_test::scriptOf(GetParam(), audio); }
  std::unique_ptr<Attached> attach(const SourceScript& script) const {
    return std::make_unique<Attached>(script, GetParam().metaint);
  }
  std::unique_ptr<Attached> attach(const Bytes& audio) const { return attach(scriptOf(audio)); }
};

}  // namespace quorin_test
