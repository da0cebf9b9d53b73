#include "map/map_text.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "map/map_words.h"
#include "output/display_text.h"
#include "output/units.h"

namespace quorin_command {

namespace {

/// Where standard output is no terminal.
constexpr size_t usualWidth = 80;

/// A bar of fewer columns shows nothing; a terminal that is narrower wraps it.
constexpr size_t leastWidth = 20;

size_t barWidth(const Terminal& terminal) {
  return terminal.width == 0 ? usualWidth : std::max(terminal.width, leastWidth);
}

Style styleOf(Content content) {
  switch (content) {
    case Content::Tag:
      return Style::OnYellow;
    case Content::Picture:
      return Style::OnMagenta;
    case Content::Header:
      return Style::OnCyan;
    case Content::Audio:
      return Style::OnGreen;
    case Content::End:
      return Style::OnBlue;
    case Content::Unknown:
      break;
  }
  return Style::OnGrey;
}

/// One segment of the bar: its name where there is room, else its letter.
std::string block(Content content, size_t width, const Terminal& terminal) {
  const ContentName name = nameOf(content);
  // Colour makes a block by itself; without it there are letters on both sides of the name.
  const std::string label = terminal.color ? name.name : ' ' + std::string(name.name) + ' ';
  std::string text(width, terminal.color ? ' ' : name.letter);
  if (width >= label.size() + 2) {
    text.replace((width - label.size()) / 2, label.size(), label);
  } else if (width > 0) {
    text[(width - 1) / 2] = name.letter;
  }
  return painted(terminal, styleOf(content), text);
}

std::string contentBar(const ByteMap& map, const Scale& scale, const Terminal& terminal) {
  std::string bar;
  for (size_t i = 0; i < map.segments.size(); ++i) {
    bar += block(map.segments[i].content, scale.columnOf(i + 1) - scale.columnOf(i), terminal);
  }
  return bar + (map.endsThere ? "\n" : terminal.utf8 ? "…\n" : ">\n");
}

/// How a column of the second bar shows how much of it was read.
struct ReadMarks {
  const char* all;
  const char* part;
  const char* none;
};

ReadMarks readMarks(const Terminal& terminal) {
  return terminal.utf8 ? ReadMarks{"█", "▒", "·"} : ReadMarks{"#", "+", "."};
}

std::string readBar(const ByteMap& map, const Scale& scale, const Terminal& terminal) {
  // What is missing from a whole column is the rounding of its parts.
  constexpr double nearlyAll = 0.999;
  const ReadMarks marks = readMarks(terminal);
  std::string bar;
  for (const double share : scale.filled(map.read)) {
    bar += share > nearlyAll ? marks.all : share > 0 ? marks.part : marks.none;
  }
  return bar + '\n';
}

/// The numbers under the bars: both ends, and where the audio begins if there is room.
std::string ruler(const ByteMap& map, const Scale& scale, size_t width) {
  std::string line(width, ' ');
  line.front() = '0';
  const std::string end = endOfScale(map);
  const size_t free = width - std::min(width, end.size());
  line.replace(free, end.size(), end);
  const long long start = audioStart(map);
  const auto column = static_cast<size_t>(scale.positionOf(start));
  const std::string right = '^' + grouped(start);
  const std::string left = grouped(start) + '^';
  const bool isInside = start > 0 && start < map.end;
  if (isInside && column >= 2 && column + right.size() + 2 <= free) {
    line.replace(column, right.size(), right);
  } else if (isInside && column >= left.size() + 2 && column + 2 < free) {
    line.replace(column + 1 - left.size(), left.size(), left);
  }
  return line + '\n';
}

std::string readLegend(const Terminal& terminal) {
  const ReadMarks marks = readMarks(terminal);
  return painted(terminal, Style::Faint,
                 std::string(marks.all) + " read  " + marks.part + " read in part  " + marks.none + " not read") +
         '\n';
}

/// The columns of the table that fit: those on the right are left out first.
size_t columnsThatFit(const std::vector<size_t>& widths, size_t width) {
  size_t count = widths.size();
  while (count > 1 &&
         std::accumulate(widths.begin(), widths.begin() + static_cast<std::ptrdiff_t>(count), size_t()) > width) {
    --count;
  }
  return count;
}

constexpr size_t swatchWidth = 2;

/// The widths of the table's columns, with what keeps them apart.
std::vector<size_t> columnWidths(const std::vector<MapRow>& rows) {
  constexpr size_t gap = 2;
  std::vector<size_t> widths(rows.front().size());
  for (const MapRow& row : rows) {
    for (size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], row[i].size() + (i == 0 ? swatchWidth : gap));
    }
  }
  return widths;
}

/// One row per segment. The colours and letters in front of the names explain the bar.
std::string table(const ByteMap& map, const Terminal& terminal) {
  std::vector<MapRow> rows = {mapTitles()};
  for (const Segment& segment : map.segments) {
    rows.push_back(mapRow(segment, map));
  }
  const std::vector<size_t> widths = columnWidths(rows);
  const size_t columns = columnsThatFit(widths, barWidth(terminal));
  std::string text;
  for (size_t i = 0; i < rows.size(); ++i) {
    std::string line = ' ' + padded(rows[i][0], widths[0] - swatchWidth);
    for (size_t column = 1; column < columns; ++column) {
      line += paddedLeft(rows[i][column], widths[column]);
    }
    if (i == 0) {
      text += ' ' + painted(terminal, Style::Faint, line);
    } else {
      const Content content = map.segments[i - 1].content;
      text += painted(terminal, styleOf(content), std::string(1, nameOf(content).letter));
      text += line;
    }
    text += '\n';
  }
  return text;
}

}  // namespace

std::string mapText(const ByteMap& map, const Terminal& terminal) {
  const size_t width = barWidth(terminal);
  const Scale scale(map.segments, map.endsThere ? width : width - 1, 1);
  return contentBar(map, scale, terminal) + readBar(map, scale, terminal) + ruler(map, scale, width) +
         readLegend(terminal) + '\n' + table(map, terminal) + '\n' + matter(terminal, "audio", whereAudioBegins(map)) +
         matter(terminal, "read", howMuchWasRead(map));
}

}  // namespace quorin_command
