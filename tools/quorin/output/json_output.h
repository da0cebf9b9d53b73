#pragma once

#include <functional>
#include <string>

#include "item/record.h"

namespace quorin_command {

class JsonWriter;

/// Raised when a name of the record changes its meaning.
constexpr int recordVersion = 1;

/// What a kind is called in records.
const char* kindName(Kind kind);

/// A URI as a record tells it: without credentials; as it is, or as base64 when it is no UTF-8.
std::string uriInJson(const std::string& uri);

/// The record as one line of JSON, line end included. Names and meaning: docs/record.schema.json. What is not known is
/// left out; bytes of the item that are no UTF-8 read U+FFFD, except for a URI, which then travels as base64.
std::string jsonLine(const Record& record);

/// The same with members that a command adds.
/// @param more writes them
std::string jsonLine(const Record& record, const std::function<void(JsonWriter& json)>& more);

}  // namespace quorin_command
