#pragma once

#include <nlohmann/json_fwd.hpp>

#include "map/byte_map.h"

namespace quorin_command {

/// A map as records tell it; names and meaning: docs/record.schema.json.
nlohmann::ordered_json mapJson(const ByteMap& map);

}  // namespace quorin_command
