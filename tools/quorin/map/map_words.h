#pragma once

#include <array>
#include <string>

#include "map/byte_map.h"
#include "output/matter.h"

/// @file
/// The words and numbers of a map, the same in every form of it.

namespace quorin_command {

struct ContentName {
  char letter;
  const char* name;
};

ContentName nameOf(Content content);

/// What the columns of the table are called, and what they say of a segment: what it is, its first and its last byte,
/// its size, its share.
using MapRow = std::array<std::string, 5>;
MapRow mapTitles();
MapRow mapRow(const Segment& segment, const ByteMap& map);

/// Where the audio begins, and what is in front of it.
Phrases whereAudioBegins(const ByteMap& map);

/// How much was read to find that out.
Phrases howMuchWasRead(const ByteMap& map);

/// The number at the end of the scale.
std::string endOfScale(const ByteMap& map);

}  // namespace quorin_command
