#pragma once

#include <string>

#include "map/byte_map.h"
#include "output/terminal.h"

namespace quorin_command {

/// A map for a terminal: a bar of what lies where, one of what was read, their scale, and the numbers. Letters tell
/// what colours tell, so that it can be read without them.
std::string mapText(const ByteMap& map, const Terminal& terminal);

}  // namespace quorin_command
