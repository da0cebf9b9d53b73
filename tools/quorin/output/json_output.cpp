#include "output/json_output.h"

#include "item/media_names.h"
#include "output/base64.h"
#include "output/credentials.h"
#include "output/json_writer.h"

namespace quorin_command {

namespace {

void writeKnown(JsonWriter& json, const char* name, const std::string& text) {
  if (!text.empty()) {
    json.member(name, text);
  }
}

template <typename Texts>
void writeList(JsonWriter& json, const char* name, const Texts& texts) {
  json.name(name);
  json.array([&] {
    for (const std::string& text : texts) {
      json.value(text);
    }
  });
}

void writeAudio(JsonWriter& json, const AudioRecord& audio) {
  if (audio.mediaType && nameOf(*audio.mediaType).json != nullptr) {
    json.member("media_type", std::string_view(nameOf(*audio.mediaType).json));
  }
  json.known("sample_rate", audio.sampleRate);
  json.known("bit_rate", audio.bitRate);
  json.known("channels", audio.channels);
  if (audio.duration) {
    json.name("duration");
    json.object([&] {
      json.member("seconds", audio.duration->seconds);
      json.member("microseconds", audio.duration->microseconds);
    });
  }
  json.known("frame_size", audio.frameSize);
  json.known("data_start_offset", audio.dataStart);
  json.known("time_calc_start_offset", audio.timeCalcStart);
  json.known("data_end_offset", audio.dataEnd);
  json.member("can_seek", audio.canSeek);
  json.member("can_set_speed", audio.canSetSpeed);
  json.member("can_pause", audio.canPause);
  json.name("pictures");
  json.array([&] {
    for (const library::EmbeddedPicture& picture : audio.pictures) {
      json.object([&] {
        json.member("offset", picture.offset);
        json.member("length", picture.length);
      });
    }
  });
}

void writeRedirect(JsonWriter& json, const RedirectRecord& redirect) {
  writeKnown(json, "content_type", redirect.contentType);
  writeList(json, "urls", redirect.urls);
}

void writeFile(JsonWriter& json, const FileStamp& file) {
  json.member("size", file.size);
  json.name("mtime");
  json.object([&] {
    json.member("seconds", file.seconds);
    json.member("nanoseconds", file.nanoseconds);
  });
}

void writeError(JsonWriter& json, const ItemError& error) {
  json.member("name", error.name);
  json.member("message", error.message);
}

void writeCost(JsonWriter& json, const Record& record) {
  json.member("bytes", record.cost.bytes);
  json.member("reads", record.cost.reads);
  json.member("requests", record.cost.requests);
  json.member("elapsed_us", record.elapsedMicroseconds);
}

/// A member that is an object, if there is anything to write into it.
template <typename Part>
void writePart(JsonWriter& json, const char* name, const std::optional<Part>& part,
               void (*write)(JsonWriter&, const Part&)) {
  if (part) {
    json.name(name);
    json.object([&] { write(json, *part); });
  }
}

}  // namespace

const char* kindName(Kind kind) {
  switch (kind) {
    case Kind::Audio:
      return "audio";
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

std::string uriInJson(const std::string& uri) {
  const std::string shown = credentialsHidden(uri);
  return isUtf8(shown) ? shown : base64(shown);
}

std::string jsonLine(const Record& record) {
  return jsonLine(record, [](JsonWriter&) {});
}

std::string jsonLine(const Record& record, const std::function<void(JsonWriter& json)>& more) {
  JsonWriter json;
  json.object([&] {
    json.member("v", recordVersion);
    json.fileName("uri", record.uri);
    json.member("kind", std::string_view(kindName(record.kind)));
    json.known("code", record.code);
    writeKnown(json, "mime_type", record.mimeType);
    writePart(json, "audio", record.audio, writeAudio);
    writePart(json, "redirect", record.redirect, writeRedirect);
    if (!record.via.empty()) {
      writeList(json, "via", record.via);
    }
    json.known("play_position", record.playPosition);
    writePart(json, "file", record.file, writeFile);
    writePart(json, "error", record.error, writeError);
    more(json);
    json.name("cost");
    json.object([&] { writeCost(json, record); });
  });
  std::string line;
  line.reserve(json.text().size() + 1);
  line += json.text();
  line += '\n';
  return line;
}

}  // namespace quorin_command
