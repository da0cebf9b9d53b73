#include "map/map_words.h"

#include <fmt/format.h>

#include "output/units.h"

namespace quorin_command {

ContentName nameOf(Content content) {
  switch (content) {
    case Content::Tag:
      return {'T', "tag"};
    case Content::Picture:
      return {'P', "picture"};
    case Content::Header:
      return {'H', "header"};
    case Content::Audio:
      return {'A', "audio"};
    case Content::End:
      return {'E', "end"};
    case Content::Unknown:
      break;
  }
  return {'?', "not recognised"};
}

MapRow mapTitles() { return {"WHAT", "FROM", "TO", "SIZE", "SHARE"}; }

MapRow mapRow(const Segment& segment, const ByteMap& map) {
  const Span& place = segment.place;
  const bool goesOn = map.goesOn(segment);
  return {nameOf(segment.content).name, grouped(place.begin), goesOn ? "on" : grouped(place.end - 1),
          goesOn ? "-" : byteCount(place.length()), map.endsThere ? percentage(place.length(), map.end) : "-"};
}

Phrases whereAudioBegins(const ByteMap& map) {
  const long long start = audioStart(map);
  if (start == map.end) {
    return {"none was found"};
  }
  unsigned int count = 0;
  long long bytes = 0;
  for (const Segment& segment : map.segments) {
    if (segment.content == Content::Picture) {
      ++count;
      bytes += segment.place.length();
    }
  }
  Phrases phrases = {fmt::format("from {} on", grouped(start))};
  if (count > 0) {
    phrases.push_back(fmt::format("behind {} of {}", count == 1 ? "a picture" : "pictures", byteCount(bytes)));
  }
  return listed(phrases, ",");
}

Phrases howMuchWasRead(const ByteMap& map) {
  const long long bytes = lengthOf(map.read);
  Phrases details = {"in " + counted(map.cost.reads, "read")};
  if (map.cost.requests > 0) {
    details.push_back(counted(map.cost.requests, "request"));
  }
  if (const auto all = static_cast<long long>(map.cost.bytes); all > bytes) {
    details.push_back(byteCount(all) + (map.cost.requests > 0 ? " received" : " with read-ahead"));
  }
  if (!map.endsThere) {
    details.emplace_back("the item goes on");
  }
  details = listed(details, ",");
  if (map.endsThere) {
    details.insert(details.begin(), fmt::format("of {} ({})", byteCount(map.end), percentage(bytes, map.end)));
  }
  details.insert(details.begin(), byteCount(bytes));
  return details;
}

std::string endOfScale(const ByteMap& map) { return grouped(map.end) + (map.endsThere ? "" : " and on"); }

}  // namespace quorin_command
