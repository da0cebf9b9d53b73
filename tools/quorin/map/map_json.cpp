#include "map/map_json.h"

#include <nlohmann/json.hpp>

#include "map/map_words.h"

namespace quorin_command {

namespace {

using Json = nlohmann::ordered_json;

const char* regionName(Content content) { return content == Content::Unknown ? "unknown" : nameOf(content).name; }

}  // namespace

Json mapJson(const ByteMap& map) {
  Json json = Json::object();
  if (map.endsThere) {
    json["size"] = map.end;
  }
  json["regions"] = Json::array();
  for (const Segment& segment : map.segments) {
    Json region = {{"kind", regionName(segment.content)}, {"first", segment.place.begin}};
    if (!map.goesOn(segment)) {
      region["last"] = segment.place.end - 1;
    }
    json["regions"].push_back(region);
  }
  json["read"] = Json::array();
  for (const Span& span : map.read) {
    json["read"].push_back({{"first", span.begin}, {"last", span.end - 1}});
  }
  return json;
}

}  // namespace quorin_command
