#include "probe/card.h"

#include <fmt/format.h>

#include "item/cost.h"
#include "item/media_names.h"
#include "output/display_text.h"
#include "output/matter.h"
#include "output/units.h"

namespace quorin_command {

namespace {

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
      return matter(terminal, "folder", {"a folder;", "'quorin scan' analyses what is in it"});
    case Kind::Unknown:
    case Kind::Error:
      break;
  }
  return matter(terminal, "unknown", {record.error ? record.error->message : "not recognised"});
}

}  // namespace

std::string cardHead(const Record& record, const Terminal& terminal) {
  std::string name = displayable(record.name, terminal.utf8);
  if (terminal.width != 0) {
    name = cutMiddle(name, terminal.width, terminal.utf8);
  }
  return painted(terminal, Style::Strong, name) + '\n' + steps(record, terminal);
}

std::string card(const Record& record, const Terminal& terminal) {
  return cardHead(record, terminal) + matters(record, terminal) + matter(terminal, "cost", costWords(record));
}

}  // namespace quorin_command
