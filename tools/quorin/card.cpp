#include "card.h"

#include <fmt/format.h>

#include <string_view>
#include <vector>

#include "display_text.h"
#include "media_names.h"
#include "units.h"

namespace quorin_command {

namespace {

constexpr size_t indent = 2;
constexpr size_t labelWidth = 10;

/// What one line says: phrases that are never broken, with blanks between them.
using Phrases = std::vector<std::string>;

/// Puts `separator` behind every phrase but the last.
Phrases listed(Phrases phrases, std::string_view separator) {
  for (size_t i = 0; i + 1 < phrases.size(); ++i) {
    phrases[i] += separator;
  }
  return phrases;
}

/// One matter, with a hanging indent where it takes several lines; empty when there is nothing to say.
std::string matter(const Terminal& terminal, std::string_view label, const Phrases& phrases) {
  if (phrases.empty()) {
    return std::string();
  }
  std::string text(indent, ' ');
  text += painted(terminal, Style::Faint, padded(label, labelWidth));
  size_t column = indent + labelWidth;
  bool atStart = true;
  for (const std::string& phrase : phrases) {
    const size_t width = displayWidth(phrase);
    if (!atStart && terminal.width != 0 && column + 1 + width > terminal.width) {
      text += '\n' + std::string(indent + labelWidth, ' ');
      column = indent + labelWidth;
    } else if (!atStart) {
      text += ' ';
      ++column;
    }
    text += phrase;
    column += width;
    atStart = false;
  }
  return text + '\n';
}

Phrases format(const AudioRecord& audio) {
  Phrases phrases = {nameOf(audio.mediaType.value_or(library::MEDIA_TYPE_NONE)).inWords};
  if (audio.sampleRate) {
    phrases.push_back(frequency(*audio.sampleRate));
  }
  if (audio.channels) {
    phrases.push_back(channelCount(*audio.channels));
  }
  if (audio.bitRate) {
    phrases.push_back(bitRate(*audio.bitRate));
  }
  phrases.push_back(audio.duration ? playingTime(*audio.duration) : "length not known");
  return listed(phrases, ",");
}

Phrases whereTheDataLies(const AudioRecord& audio) {
  Phrases phrases;
  if (audio.dataStart && audio.dataEnd) {
    const std::string size = byteCount(*audio.dataEnd - *audio.dataStart + 1);
    phrases.push_back(fmt::format("{} to {} ({})", grouped(*audio.dataStart), grouped(*audio.dataEnd), size));
  } else if (audio.dataStart) {
    phrases.push_back(fmt::format("from {} on", grouped(*audio.dataStart)));
  }
  if (audio.timeCalcStart) {
    phrases.push_back("time counted from " + grouped(*audio.timeCalcStart));
  }
  return listed(phrases, ",");
}

Phrases pictures(const AudioRecord& audio) {
  Phrases phrases;
  for (const library::EmbeddedPicture& picture : audio.pictures) {
    phrases.push_back(fmt::format("{} at {}", byteCount(picture.length), grouped(picture.offset)));
  }
  phrases = listed(phrases, ",");
  if (!phrases.empty()) {
    phrases.front().insert(0, fmt::format("{}: ", phrases.size()));
  }
  return phrases;
}

Phrases whatAPlayerMayDo(const AudioRecord& audio, std::optional<long long> playPosition) {
  Phrases abilities;
  if (audio.canSeek) {
    abilities.emplace_back("seek");
  }
  if (audio.canPause) {
    abilities.emplace_back("pause");
  }
  if (audio.canSetSpeed) {
    abilities.emplace_back("change speed");
  }
  if (abilities.empty()) {
    abilities = {"can only play straight on"};
  } else {
    abilities.front().insert(0, "can ");
  }
  abilities = listed(abilities, ",");
  if (playPosition) {
    abilities.back() += ';';
    abilities.push_back("plays on from " + grouped(*playPosition));
  }
  return abilities;
}

Phrases cost(const Record& record) {
  const auto counted = [](unsigned int count, const char* what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
  };
  const std::string bytes = byteCount(static_cast<long long>(record.cost.bytes));
  Phrases phrases = {fmt::format("{} in {}", bytes, counted(record.cost.reads, "read"))};
  if (record.cost.requests > 0) {
    phrases.push_back(counted(record.cost.requests, "request"));
  }
  phrases.push_back(elapsedTime(record.elapsedMicroseconds));
  return listed(phrases, ",");
}

std::string audioMatters(const Record& record, const AudioRecord& audio, const Terminal& terminal) {
  return matter(terminal, "audio", format(audio)) + matter(terminal, "data", whereTheDataLies(audio)) +
         matter(terminal, "pictures", pictures(audio)) +
         matter(terminal, "player", whatAPlayerMayDo(audio, record.playPosition));
}

/// The steps of redirects, be it that they were followed or that they are but told.
std::string steps(const Record& record, const Terminal& terminal) {
  const std::vector<std::string> chain = chainOf(record);
  Phrases targets;
  for (size_t i = 1; i < chain.size(); ++i) {
    targets.push_back("to " + displayable(chain[i], terminal.utf8));
  }
  return matter(terminal, record.redirect ? "redirect" : "followed", listed(targets, ","));
}

std::string redirectMatters(const RedirectRecord& redirect, const Terminal& terminal) {
  Phrases type;
  if (!redirect.contentType.empty()) {
    type.push_back(displayable(redirect.contentType, terminal.utf8));
  }
  return matter(terminal, "type", type);
}

std::string matters(const Record& record, const Terminal& terminal) {
  switch (record.kind) {
    case Kind::Audio:
      return audioMatters(record, *record.audio, terminal);
    case Kind::Redirect:
      return redirectMatters(*record.redirect, terminal);
    case Kind::Folder:
      return matter(terminal, "folder", {"a folder;", "what is in it can be analysed item by item"});
    case Kind::Unknown:
    case Kind::Error:
      break;
  }
  return matter(terminal, "unknown", {record.error ? record.error->message : "not recognised"});
}

}  // namespace

std::string card(const Record& record, const Terminal& terminal) {
  std::string name = displayable(record.name, terminal.utf8);
  if (terminal.width != 0) {
    name = cutMiddle(name, terminal.width, terminal.utf8);
  }
  return painted(terminal, Style::Strong, name) + '\n' + steps(record, terminal) + matters(record, terminal) +
         matter(terminal, "cost", cost(record));
}

}  // namespace quorin_command
