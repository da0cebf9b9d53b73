#include "map/map_svg.h"

#include <fmt/format.h>

#include <algorithm>

#include "map/map_words.h"
#include "output/display_text.h"
#include "output/units.h"

namespace quorin_command {

namespace {

// In units of the view box.
constexpr int width = 960;
constexpr int margin = 24;
constexpr int barWidth = width - 2 * margin;
constexpr int contentTop = 72;
constexpr int contentHeight = 56;
constexpr int readTop = 136;
constexpr int readHeight = 20;
constexpr int rulerTop = 160;
constexpr int legendTop = 230;
constexpr int tableTop = 266;
constexpr int rowHeight = 24;
constexpr int swatch = 14;

/// Narrower blocks could not be told apart.
constexpr size_t leastBlock = 4;

/// Of a character of the fonts that are asked for, a little more than any of them has.
constexpr double characterWidth = 7.9;        // at 13 units
constexpr double headingCharacterWidth = 11;  // at 18 units

constexpr const char* style =
    "text{font:13px ui-monospace,'DejaVu Sans Mono',Menlo,Consolas,monospace;fill:#1f2328;white-space:pre}"
    ".paper{fill:#ffffff}.h{font-size:18px;font-weight:bold}.faint{fill:#57606a}.in{fill:#111111}.right{text-anchor:"
    "end}"
    ".middle{text-anchor:middle}.line{stroke:#57606a;fill:none}.track{fill:#d8dee4}.read{fill:#cf222e}"
    ".tag{fill:#e3b341}.picture{fill:#c792ea}.header{fill:#62b6de}.audio{fill:#5fb878}.end{fill:#ec8e5c}"
    ".unknown{fill:#a8b0b8}"
    "@media (prefers-color-scheme:dark){text{fill:#e6edf3}.paper{fill:#0d1117}.faint{fill:#9da7b1}.in{fill:#111111}"
    ".line{stroke:#9da7b1}.track{fill:#30363d}.read{fill:#ff7b72}}";

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

/// What the card of an item would say in a line of its own.
std::string sentence(const char* subject, const Phrases& phrases) {
  return fmt::format("{}: {}", subject, fmt::join(phrases, " "));
}

std::string aboutAudio(const ByteMap& map) { return sentence("audio", whereAudioBegins(map)); }

std::string aboutReading(const ByteMap& map) { return sentence("read", howMuchWasRead(map)); }

const char* classOf(Content content) { return content == Content::Unknown ? "unknown" : nameOf(content).name; }

/// @param look classes of the style sheet
std::string label(double x, int y, const char* look, const std::string& text) {
  return fmt::format("<text x=\"{:.1f}\" y=\"{}\" class=\"{}\">{}</text>\n", x, y, look, escaped(text));
}

std::string box(double x, int y, double w, int h, const char* look) {
  return fmt::format("<rect x=\"{:.1f}\" y=\"{}\" width=\"{:.1f}\" height=\"{}\" class=\"{}\"/>\n", x, y, w, h, look);
}

double widthOf(const std::string& text) { return static_cast<double>(text.size()) * characterWidth; }

/// A block of the first bar, with its name and size as far as there is room.
std::string block(const Segment& segment, const ByteMap& map, double x, double w) {
  constexpr int nameLine = 24;
  constexpr int sizeLine = 42;
  constexpr double room = 8;
  const MapRow row = mapRow(segment, map);
  const std::string& name = row[0];
  const std::string& size = row[3];
  const bool goesOn = map.goesOn(segment);
  std::string text = fmt::format(goesOn ? "<g><title>{}: {} and on</title>\n" : "<g><title>{}: {} to {}, {}</title>\n",
                                 name, row[1], row[2], size);
  text += box(x, contentTop, w, contentHeight, classOf(segment.content));
  if (widthOf(name) + room <= w) {
    text += label(x + w / 2, contentTop + nameLine, "in middle", name);
    text += !goesOn && widthOf(size) + room <= w ? label(x + w / 2, contentTop + sizeLine, "in middle", size) : "";
  }
  return text + "</g>\n";
}

std::string contentBar(const ByteMap& map, const Scale& scale) {
  std::string bar;
  for (size_t i = 0; i < map.segments.size(); ++i) {
    const auto left = static_cast<double>(scale.columnOf(i));
    const auto right = static_cast<double>(scale.columnOf(i + 1));
    bar += block(map.segments[i], map, margin + left, right - left);
  }
  if (!map.endsThere) {  // a point to the right
    bar += fmt::format("<path class=\"{}\" d=\"M{} {}l16 {}l-16 {}z\"/>\n",
                       classOf(map.segments.empty() ? Content::Unknown : map.segments.back().content), width - margin,
                       contentTop, contentHeight / 2, contentHeight / 2);
  }
  return bar;
}

std::string readBar(const ByteMap& map, const Scale& scale) {
  constexpr double leastShown = 1.5;
  std::string bar = box(margin, readTop, barWidth, readHeight, "track");
  for (const Span& span : map.read) {
    const double left = scale.positionOf(span.begin);
    const double w = std::max(scale.positionOf(span.end) - left, leastShown);
    bar += box(margin + std::min(left, barWidth - leastShown), readTop, w, readHeight, "read");
  }
  return bar;
}

/// Both ends of the scale, and where the audio begins.
std::string ruler(const ByteMap& map, const Scale& scale) {
  constexpr int numbers = rulerTop + 22;
  constexpr double room = 16;
  const auto tick = [](double x) { return fmt::format("<path class=\"line\" d=\"M{:.1f} {}v7\"/>\n", x, rulerTop); };
  const std::string end = endOfScale(map);
  std::string text = tick(margin) + label(margin, numbers, "faint", "0") + tick(margin + barWidth) +
                     label(margin + barWidth, numbers, "faint right", end);
  const long long start = audioStart(map);
  if (start == 0 || start == map.end) {
    return text;
  }
  const std::string number = "audio from " + grouped(start);
  const double x = scale.positionOf(start);
  // Beside the other numbers, if it has to be; the tick tells the place.
  const double first = widthOf("0") + room;
  const double last = barWidth - widthOf(end) - room - widthOf(number);
  return text + tick(margin + x) + label(margin + std::clamp(x, first, std::max(first, last)), numbers, "", number);
}

std::string row(const MapRow& cells, int y, const char* look) {
  constexpr double columnEnds[] = {0, 420, 610, 790, width - margin};
  std::string text = label(margin + 24, y, look, cells[0]);
  for (size_t i = 1; i < cells.size(); ++i) {
    text += label(columnEnds[i], y, fmt::format("{} right", look).c_str(), cells[i]);
  }
  return text;
}

std::string table(const ByteMap& map) {
  int y = tableTop;
  std::string text = row(mapTitles(), y, "faint");
  for (const Segment& segment : map.segments) {
    y += rowHeight;
    text += box(margin, y - swatch + 2, swatch, swatch, classOf(segment.content)) + row(mapRow(segment, map), y, "");
  }
  return text;
}

}  // namespace

std::string mapSvg(const ByteMap& map, const std::string& name) {
  const std::string shown = displayable(name, true);
  const auto heading = cutMiddle(shown, static_cast<size_t>(barWidth / headingCharacterWidth), true);
  const Scale scale(map.segments, barWidth, leastBlock);
  const int height = tableTop + rowHeight * static_cast<int>(map.segments.size()) + margin;
  std::string svg = fmt::format(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 {0} {1}\" role=\"img\" aria-labelledby=\"title desc\">\n"
      "<title id=\"title\">Byte map of {2}</title>\n"
      "<desc id=\"desc\">{3}; {4}.</desc>\n"
      "<style>{5}</style>\n",
      width, height, escaped(shown), escaped(aboutAudio(map)), escaped(aboutReading(map)), style);
  svg += fmt::format("<rect width=\"{}\" height=\"{}\" class=\"paper\"/>\n", width, height);
  svg += label(margin, 34, "h", heading) + label(margin, 56, "", aboutAudio(map));
  svg += contentBar(map, scale) + readBar(map, scale) + ruler(map, scale);
  svg += box(margin, legendTop - 11, swatch, swatch, "read") + label(margin + 24, legendTop, "", aboutReading(map)) +
         table(map);
  return svg + "</svg>\n";
}

}  // namespace quorin_command
