#pragma once

#include <boost/make_shared.hpp>
#include <string>
#include <vector>

#include "framework/cache_scan.h"
#include "support/log_capture.h"
#include "support/scripted_source.h"

/// @file
/// The scan of the cache beside the steps that it stands for.

namespace quorin_test {

namespace strell = zu::md::common::strell;
using zu::md::common::quorin::readCached;
using zu::md::common::quorin::ReadPlace;
using zu::md::common::quorin::scanForSync;
using zu::md::common::quorin::SyncPattern;

inline constexpr SyncPattern elevenBits = {2, {0xff, 0xe0, 0, 0}, {0xff, 0xe0, 0, 0}};
inline constexpr SyncPattern word = {4, {'f', 'L', 'a', 'C'}, {0xff, 0xff, 0xff, 0xff}};
inline const ReadPlace scanPlace = {"Scanner", "scan", 7};

/// What the scan stands for: read, compare, step one byte on.
inline bool stepwiseScan(strell::Strell& strell, const SyncPattern& pattern, unsigned limit) {
  unsigned position = strell.getDataCacheOffset();
  for (;;) {
    const unsigned char* const bytes = readCached(strell, pattern.length, scanPlace);
    if (bytes == nullptr) {
      return false;
    }
    bool matches = true;
    for (unsigned i = 0; i < pattern.length; ++i) {
      matches = matches && (bytes[i] & pattern.mask[i]) == pattern.value[i];
    }
    if (matches) {
      strell.setDataCacheOffset(position);
      return true;
    }
    ++position;
    strell.setDataCacheOffset(position);
    if (position >= limit) {
      return false;
    }
  }
}

/// Everything by which two scans could differ.
struct ScanOutcome {
  bool found;
  unsigned offset;
  std::string log;
  std::vector<unsigned> readLengths;
  std::vector<long long> readOffsets;
  std::vector<long long> seekTargets;
  unsigned long long bytes;
};

/// One scan over a fresh source.
struct ScanCase {
  SourceScript script;
  SyncPattern pattern = elevenBits;
  unsigned start = 0;
  unsigned limit = 0;
  long long seekBefore = -1;  ///< gives the cache a seek region; -1 for none
  unsigned readBefore = 0;    ///< fills the head so far

  template <typename Scan>
  ScanOutcome run(Scan scan) const {
    const auto source = boost::make_shared<ScriptedSource>(script);
    strell::Strell strell;
    strell.attach(source);
    if (readBefore != 0) {
      strell.setDataCacheOffset(readBefore);
    }
    if (seekBefore >= 0) {
      strell.seek(seekBefore);
    }
    strell.setDataCacheOffset(start);
    const LogCapture log;
    const bool found = scan(strell);
    return {found,
            strell.getDataCacheOffset(),
            log.dump(),
            source->calls.readLengths,
            source->calls.readOffsets,
            source->calls.seekTargets,
            source->calls.bytes};
  }

  ScanOutcome fast() const {
    return run([this](strell::Strell& strell) { return scanForSync(strell, pattern, limit, scanPlace); });
  }
  ScanOutcome stepwise() const {
    return run([this](strell::Strell& strell) { return stepwiseScan(strell, pattern, limit); });
  }
};

}  // namespace quorin_test
