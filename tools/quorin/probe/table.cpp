#include "probe/table.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "item/media_names.h"
#include "output/display_text.h"
#include "output/units.h"

namespace quorin_command {

namespace {

constexpr size_t gap = 2;

/// The narrowest room for names before a column is left out for them.
constexpr size_t roomForNames = 26;

struct Column {
  const char* title;
  size_t width;
  int rank;  ///< columns of a high rank are left out first
  std::string (*text)(const AudioRecord& audio);
};

std::string lengthOf(const AudioRecord& audio) { return audio.duration ? playingTime(*audio.duration) : "-"; }

std::string bitRateOf(const AudioRecord& audio) { return audio.bitRate ? bitRate(*audio.bitRate) : "-"; }

std::string frequencyOf(const AudioRecord& audio) { return audio.sampleRate ? frequency(*audio.sampleRate) : "-"; }

std::string channelsOf(const AudioRecord& audio) { return audio.channels ? channelCount(*audio.channels) : "-"; }

std::string sizeOf(const AudioRecord& audio) {
  return audio.dataStart && audio.dataEnd ? byteCount(*audio.dataEnd - *audio.dataStart + 1) : "-";
}

constexpr size_t kindWidth = 8;

constexpr Column columns[] = {
    {"LENGTH", 8, 0, lengthOf},      {"BIT RATE", 11, 1, bitRateOf}, {"RATE", 10, 2, frequencyOf},
    {"CHANNELS", 10, 4, channelsOf}, {"DATA", 9, 3, sizeOf},
};

/// Columns of a rank above this do not fit the terminal.
int highestRank(const Terminal& terminal) {
  size_t used = kindWidth + gap + roomForNames;
  int rank = -1;
  for (bool fits = true; fits; rank += fits ? 1 : 0) {
    const auto next = std::find_if(std::begin(columns), std::end(columns),
                                   [rank](const Column& column) { return column.rank == rank + 1; });
    used += next == std::end(columns) ? 0 : gap + next->width;
    fits = next != std::end(columns) && (terminal.width == 0 || used <= terminal.width);
  }
  return rank;
}

std::string row(const Terminal& terminal, const std::string& kind, std::string name,
                const std::vector<std::string>& cells) {
  const int rank = highestRank(terminal);
  std::string text = padded(kind, kindWidth);
  size_t used = kindWidth;
  for (size_t i = 0; i < std::size(columns); ++i) {
    if (columns[i].rank <= rank) {
      text += std::string(gap, ' ') + paddedLeft(i < cells.size() ? cells[i] : "", columns[i].width);
      used += gap + columns[i].width;
    }
  }
  if (terminal.width != 0) {
    name = cutMiddle(name, terminal.width > used + gap ? terminal.width - used - gap : 1, terminal.utf8);
  }
  return text + std::string(gap, ' ') + name;
}

std::string kindOf(const Record& record) {
  switch (record.kind) {
    case Kind::Audio:
      return nameOf(record.audio->mediaType.value_or(library::MEDIA_TYPE_NONE)).brief;
    case Kind::Redirect:
      return "redirect";
    case Kind::Folder:
      return "folder";
    case Kind::Unknown:
      return "unknown";
    case Kind::Error:
      break;
  }
  return "error";
}

/// The name, and where redirects lead from it.
std::string nameCell(const Record& record, const Terminal& terminal) {
  std::string name = displayable(record.name, terminal.utf8);
  const std::vector<std::string> chain = chainOf(record);
  for (size_t i = 1; i < chain.size(); ++i) {
    name += (terminal.utf8 ? " → " : " -> ") + displayable(chain[i], terminal.utf8);
  }
  return name;
}

}  // namespace

std::string tableHead(const Terminal& terminal) {
  std::vector<std::string> titles;
  for (const Column& column : columns) {
    titles.emplace_back(column.title);
  }
  return painted(terminal, Style::Faint, row(terminal, "KIND", "NAME", titles)) + '\n';
}

std::string tableRow(const Record& record, const Terminal& terminal) {
  std::vector<std::string> cells;
  for (const Column& column : columns) {
    cells.push_back(record.audio ? column.text(*record.audio) : "");
  }
  const std::string text = row(terminal, kindOf(record), nameCell(record, terminal), cells);
  return (record.error ? painted(terminal, Style::Warning, text) : text) + '\n';
}

}  // namespace quorin_command
