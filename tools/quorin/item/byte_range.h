#pragma once

#include <functional>
#include <string_view>

#include "strell/strell.h"

namespace quorin_command {

/// Reads a range of an analysed source piece by piece: from what the analysis left in the cache where it lies there, or
/// else by moving to it, so that nothing else is requested.
/// @param sink gets the pieces in order, at least one, which may be empty
/// @return 0, or the negative code of what kept the range from being read whole
int readRange(zu::md::common::strell::Strell& strell, long long offset, unsigned int length,
              const std::function<void(std::string_view)>& sink);

/// Reads on from the read position up to an offset or the end of the stream.
/// @param end where to stop; negative: at the end of the stream
/// @param sink gets the pieces; returns whether to go on
/// @param onMetadata gets each ICY metadata block that is passed
/// @return 0 at the end and when `sink` has enough, else the negative code of the failure
int readOn(zu::md::common::strell::Strell& strell, long long end, const std::function<bool(std::string_view)>& sink,
           const std::function<void(const std::string&)>& onMetadata);

}  // namespace quorin_command
