#pragma once

#include <cstdint>

#include "obq/debug.h"

namespace zu::md::common::quorin::log {

/// Module number of the library in the platform's debug output.
constexpr uint32_t module = 0x68;

enum Level : uint32_t {
  Severe = 1000,  ///< the platform's most severe level
  Error = 3000,
  Info = 4000,
  Debug = 5000
};

/// Word 1 of the records of the translator registry; every other record has 0 there.
constexpr uint32_t registryWord = 16;

/// Silent is the common case, so this is all that a silent line costs.
inline bool isWanted(Level level) { return level <= obqDebugMostVerbose.load(std::memory_order_relaxed); }

}  // namespace zu::md::common::quorin::log

/// Writes one line. The arguments are evaluated only when somebody wants the line; the compiler checks them against
/// the format.
#define QUORIN_LOG_RECORD(level, word1, ...)                                                       \
  do {                                                                                             \
    if (::zu::md::common::quorin::log::isWanted(level)) {                                          \
      static constexpr uint32_t record[3] = {                                                      \
          ::zu::md::common::quorin::log::module << 16 | static_cast<uint32_t>(level), (word1), 0}; \
      if (obqDebugCheckLevelGetFrameAndChunk(record) != 0) {                                       \
        obqDebugOutput0(record, __VA_ARGS__);                                                      \
      }                                                                                            \
    }                                                                                              \
  } while (false)

#define QUORIN_LOG(level, ...) QUORIN_LOG_RECORD(::zu::md::common::quorin::log::level, 0, __VA_ARGS__)
