#pragma once

#include <string>

#include "map/byte_map.h"

namespace quorin_command {

/// A map as a picture (SVG 1.1, UTF-8) that stands for itself: no scripts, nothing from elsewhere, for light and for
/// dark surroundings, and with words for whoever cannot see it.
/// @param name of the item, any bytes
std::string mapSvg(const ByteMap& map, const std::string& name);

}  // namespace quorin_command
