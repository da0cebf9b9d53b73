#pragma once

#include "map/byte_map.h"
#include "sample_records.h"

namespace quorin_command {

/// An MP3 with a cover of 1.6 MiB and an ID3v1 tag.
inline ByteMap sampleMap() {
  ByteMap map;
  map.end = 5549487;
  map.segments = segmentsOf(sampleAudio().audio, 1650700, map.end);
  map.read = {{0, 4096}, {1646645, 1654837}, {5549359, 5549487}};
  map.cost.bytes = 12416;
  map.cost.reads = 4;
  return map;
}

/// A live stream of which 8000 bytes were read.
inline ByteMap sampleLiveMap() {
  AudioRecord audio;
  audio.dataStart = 417;
  ByteMap map;
  map.end = 8000;
  map.endsThere = false;
  map.segments = segmentsOf(audio, 0, map.end);
  map.read = {{0, 8000}};
  map.cost = {8192, 2, 1};
  return map;
}

inline ByteMap sampleUnknownMap(long long end) {
  ByteMap map;
  map.end = end;
  map.segments = segmentsOf(std::nullopt, 0, end);
  map.read = {{0, 1}};
  map.cost = {1, 1, 0};
  return map;
}

}  // namespace quorin_command
