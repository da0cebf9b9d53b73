#include "map/map_json.h"

#include "map/map_words.h"

namespace quorin_command {

namespace {

const char* regionName(Content content) { return content == Content::Unknown ? "unknown" : nameOf(content).name; }

void writeRegion(JsonWriter& json, const ByteMap& map, const Segment& segment) {
  json.member("kind", std::string_view(regionName(segment.content)));
  json.member("first", segment.place.begin);
  if (!map.goesOn(segment)) {
    json.member("last", segment.place.end - 1);
  }
}

}  // namespace

void writeMap(JsonWriter& json, const ByteMap& map) {
  json.object([&] {
    if (map.endsThere) {
      json.member("size", map.end);
    }
    json.name("regions");
    json.array([&] {
      for (const Segment& segment : map.segments) {
        json.object([&] { writeRegion(json, map, segment); });
      }
    });
    json.name("read");
    json.array([&] {
      for (const Span& span : map.read) {
        json.object([&] {
          json.member("first", span.begin);
          json.member("last", span.end - 1);
        });
      }
    });
  });
}

}  // namespace quorin_command
