#pragma once

#include "map/byte_map.h"
#include "output/json_writer.h"

namespace quorin_command {

/// Writes a map as records tell it; names and meaning: docs/record.schema.json.
void writeMap(JsonWriter& json, const ByteMap& map);

}  // namespace quorin_command
