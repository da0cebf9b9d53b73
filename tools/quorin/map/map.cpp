#include "map/map.h"

#include <cerrno>
#include <cstring>
#include <optional>

#include "item/item_run.h"
#include "item/source_watch.h"
#include "map/byte_map.h"
#include "map/map_json.h"
#include "map/map_svg.h"
#include "map/map_text.h"
#include "output/json_output.h"
#include "output/new_file.h"
#include "output/output.h"
#include "probe/card.h"

namespace quorin_command {

namespace {

using zu::md::common::strell::Strell;

/// Bytes of the ID3v2 tag that a stream begins with; 0 without one. Its first bytes are in the cache after an analysis.
long long tagLength(Strell& source) {
  constexpr unsigned int headLength = 10;
  unsigned char* head = nullptr;
  if (source.setDataCacheOffset(0) != 0 || source.readDataCache(headLength, head) != 0 ||
      std::memcmp(head, "ID3", 3) != 0) {
    return 0;
  }
  long long length = 0;
  for (size_t i = 6; i < headLength; ++i) {
    length = length << 7 | (head[i] & 0x7f);
  }
  return headLength + length;
}

/// What was read of an analysed source, counted as the record counts. A source that cannot seek was read from its start
/// on and may be a live stream, of which only the audio counts; that is what the cache shows.
std::vector<Span> whatWasRead(Strell& source) {
  bool seekable = false;
  unsigned int length = 0;
  if (source.getSeekable(seekable) == 0 && !seekable && source.setDataCacheOffset(0) == 0 &&
      source.peekDataCache(length) != nullptr) {
    return {{0, length}};
  }
  return merged(sighting().read);
}

ByteMap mapOf(Strell& source, const Record& record) {
  ByteMap map;
  map.read = whatWasRead(source);
  map.cost = sighting().closed;
  add(map.cost, source.cost());
  map.endsThere = source.size(map.end) == 0;
  if (!map.endsThere) {
    map.end = map.read.empty() ? 0 : map.read.back().end;
  }
  map.segments = segmentsOf(record.audio, tagLength(source), map.end);
  return map;
}

/// Draws the map of the item of a run.
class Drawer {
 public:
  explicit Drawer(const Options& options) : options_(options), terminal_(standardOutput(options.color)) {}

  /// Draws the map of an item; if that cannot be done, the record says why.
  void draw(Strell* source, Record& record) {
    if (record.kind == Kind::Redirect || record.kind == Kind::Folder) {
      fail(record, notAudio(record.kind));
    }
    if (record.kind == Kind::Error || source == nullptr) {
      return;
    }
    const ByteMap map = mapOf(*source, record);
    if (map.segments.empty()) {
      return;
    }
    map_ = map;
    if (options_.svgFile.empty()) {
      text_ = cardHead(record, terminal_) + mapText(map, terminal_);
    } else {
      drawInto(options_.svgFile, mapSvg(map, record.name), record);
    }
  }

  /// @return whether the run may go on
  bool tell(const Record& record) const {
    const auto more = [this](JsonWriter& json) { writeMore(json); };
    const std::string text = options_.json ? jsonLine(record, more) : text_;
    return (text.empty() || writeData(text)) && !outputFailed_;
  }

 private:
  void drawInto(const std::string& path, const std::string& svg, Record& record) {
    NewFile file(path, options_.force);
    file.write(svg);
    if (const int error = file.commit(); error != 0) {
      outputFailed_ = error != EEXIST;
      fail(record, cannotWrite(path, error));
    } else if (path != "-") {
      text_ = path + '\n';
      svgLength_ = svg.size();
    }
  }

  /// What a record tells of a map.
  void writeMore(JsonWriter& json) const {
    if (map_) {
      json.name("map");
      writeMap(json, *map_);
    }
    if (svgLength_) {
      json.name("files");
      json.array([&] {
        json.object([&] {
          json.fileName("path", options_.svgFile);
          json.member("length", *svgLength_);
          json.member("type", std::string_view("svg"));
        });
      });
    }
  }

  const Options& options_;
  const Terminal terminal_;
  std::string text_;
  std::optional<ByteMap> map_;
  std::optional<size_t> svgLength_;  ///< of the file that was written
  bool outputFailed_ = false;
};

}  // namespace

int map(const Options& options) {
  Drawer drawer(options);
  return runItems(options, {[&](Analysis& analysis, Record& record) { drawer.draw(analysis.source(), record); },
                            [&](const Record& record) { return drawer.tell(record); }});
}

}  // namespace quorin_command
