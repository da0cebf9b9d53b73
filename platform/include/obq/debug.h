#pragma once

/// @file
/// Debug output of the platform: who logs, how much of it is wanted, and where it goes.
///
/// A line is written in two steps, so that a line nobody wants costs next to nothing:
/// @code
///   static const uint32_t record[3] = {0x00684000u | 0x0fa0u, 0, 0};   // module 0x68, level 4000
///   if (record_level <= obqDebugMostVerbose.load(std::memory_order_relaxed) &&
///       obqDebugCheckLevelGetFrameAndChunk(record) != 0)
///     obqDebugOutput0(record, "Thing::%s(): %u bytes\n", "read", count);
/// @endcode
///
/// Levels run from 1000 (most severe) over 3000 (error) and 4000 (informational) to 5000 (verbose). A module
/// shows every line whose level is not above the level set for it; 0 shows none and is the default. The
/// environment variable OBQ_DEBUG (a decimal level) presets every module.
///
/// All functions may be called from any thread; lines of different threads never mix.

#include <atomic>
#include <cstdint>
#include <functional>
#include <string_view>

#include "md/export.h"

extern "C" {

/// The highest level that any module wants. A level above it is wanted by nobody: one relaxed load and a compare
/// answer for a silent program. It starts at UINT32_MAX, until the first call of a function below has looked at
/// OBQ_DEBUG.
extern MD_API std::atomic<uint32_t> obqDebugMostVerbose;

/// Asks whether a line is wanted.
/// @param record three words: module << 16 | level; a word of the caller's own (0 or 16 today); 0
/// @return non-zero when the module of `record` shows lines of this level
MD_API int obqDebugCheckLevelGetFrameAndChunk(const uint32_t record[3]);

/// Hands one line to the sink, whole, however long it gets. Does not test the level.
/// @param record as above
/// @param format printf format; the text carries its own line end
MD_API void obqDebugOutput0(const uint32_t record[3], const char* format, ...) __attribute__((format(printf, 2, 3)));
}

/// How much is logged, and where it goes.
namespace obq {

/// Receives every line: the module and the level of its record, and the text as formatted.
/// Calls do not overlap. A sink may log itself; such a line is dropped rather than nested.
using DebugSink = std::function<void(uint32_t module, uint32_t level, std::string_view text)>;

/// Sets how much one module shows.
/// @param module 0 to 0xffff
/// @param mostVerbose highest level shown: 0 silences, 5000 shows everything
MD_API void setDebugLevel(uint32_t module, uint32_t mostVerbose);

/// Replaces the sink. When it returns, the previous sink is not running and will not be called again.
/// @param sink an empty function means standard error again
MD_API void setDebugSink(DebugSink sink);

}  // namespace obq
