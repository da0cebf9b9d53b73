#include "item/record.h"

#include <boost/pointer_cast.hpp>
#include <utility>

#include "item/errors.h"
#include "item/redirect_target.h"
#include "quorin/mime_types.h"

namespace quorin_command {

namespace {

/// What a getter stores, when it says that it did.
template <typename Object, typename Value>
std::optional<Value> known(const Object& object, int (Object::*getter)(Value&) const) {
  Value value{};
  return (object.*getter)(value) == 0 ? std::optional<Value>(value) : std::nullopt;
}

template <typename Value>
std::optional<Value> known(zu::md::common::strell::Strell* strell,
                           int (zu::md::common::strell::Strell::*getter)(Value&)) {
  Value value{};
  return strell != nullptr && (strell->*getter)(value) == 0 ? std::optional<Value>(value) : std::nullopt;
}

AudioRecord describeAudio(const library::AudioInfo& info, std::optional<long long> streamSize) {
  using library::AudioInfo;
  AudioRecord audio;
  audio.mediaType = known(info, &AudioInfo::getMediaType);
  audio.sampleRate = known(info, &AudioInfo::getSamplingFrequency);
  audio.bitRate = known(info, &AudioInfo::getBitrate);
  audio.channels = known(info, &AudioInfo::getChannels);
  audio.duration = known(info, &AudioInfo::getDuration);
  audio.frameSize = known(info, &AudioInfo::getFrameSize);
  audio.dataStart = known(info, &AudioInfo::getDataStartOffset);
  audio.timeCalcStart = known(info, &AudioInfo::getTimeCalcStartOffset);
  audio.dataEnd = known(info, &AudioInfo::getDataEndOffset);
  audio.canSeek = info.canSeek();
  audio.canSetSpeed = info.canSetSpeed();
  audio.canPause = info.canPause();
  for (auto picture = info.embeddedPicturesBegin(); picture != info.embeddedPicturesEnd(); ++picture) {
    if (liesInside(*picture, streamSize)) {
      audio.pictures.push_back(*picture);
    }
  }
  return audio;
}

}  // namespace

ItemError notAudio(Kind kind) {
  return kind == Kind::Redirect ? ItemError{"not_audio", "a redirect; --follow goes on to what is behind it"}
                                : ItemError{"not_audio", "a folder"};
}

void describe(const library::AnalyzeResult* result, Record& record) {
  using zu::md::common::strell::Strell;
  if (result == nullptr || !result->info) {
    record.kind = Kind::Error;
    return;
  }
  const library::Info& info = *result->info;
  record.mimeType = info.mimeType;
  if (const auto* audio = dynamic_cast<const library::AudioInfo*>(&info)) {
    record.kind = Kind::Audio;
    record.audio = describeAudio(*audio, known(result->strell.get(), &Strell::size));
    record.playPosition = known(result->strell.get(), &Strell::tell);
  } else if (const auto* redirect = dynamic_cast<const library::RedirectInfo*>(&info)) {
    record.kind = Kind::Redirect;
    record.redirect = RedirectRecord{redirect->contentType, redirect->urls};
  } else {
    record.kind = info.mimeType == library::MimeTypes::ApplicationFolder ? Kind::Folder : Kind::Unknown;
  }
}

void fail(Record& record, ItemError error) {
  record.kind = Kind::Error;
  record.error = std::move(error);
  record.audio.reset();
  record.playPosition.reset();
}

bool hasFailed(const Record& record) {
  return hasFailed(record.kind, record.error ? std::string_view(record.error->name) : std::string_view());
}

bool hasFailed(Kind kind, std::string_view cause) {
  const bool isMerelyUnknown = kind == Kind::Unknown && (cause == notRecognised().name || cause == emptyItem().name);
  return kind == Kind::Error || (!cause.empty() && !isMerelyUnknown);
}

std::vector<std::string> chainOf(const Record& record) {
  std::vector<std::string> chain = record.via;
  if (!record.via.empty() || record.redirect) {
    chain.push_back(record.uri);
  }
  if (record.redirect) {
    chain.push_back(resolved(record.uri, record.redirect->urls.front()));
  }
  return chain;
}

bool liesInside(const library::EmbeddedPicture& picture, std::optional<long long> size) {
  return picture.offset >= 0 && picture.length >= 0 &&
         (!size || (picture.offset <= *size && picture.length <= *size - picture.offset));
}

}  // namespace quorin_command
