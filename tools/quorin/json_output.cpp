#include "json_output.h"

#include <utf8.h>

#include <nlohmann/json.hpp>
#include <string_view>

#include "media_names.h"

namespace quorin_command {

namespace {

using Json = nlohmann::ordered_json;

/// Raised when a name of the record changes its meaning.
constexpr int recordVersion = 1;

template <typename Value>
void addKnown(Json& object, const char* name, const std::optional<Value>& value) {
  if (value) {
    object[name] = *value;
  }
}

void addKnown(Json& object, const char* name, const std::string& text) {
  if (!text.empty()) {
    object[name] = text;
  }
}

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

/// RFC 4648, section 4.
std::string base64(std::string_view bytes) {
  static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr size_t group = 3;
  std::string text;
  for (size_t at = 0; at < bytes.size(); at += group) {
    uint32_t bits = 0;
    for (size_t i = 0; i < group; ++i) {
      bits = bits << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    const size_t given = std::min(group, bytes.size() - at);
    for (size_t i = 0; i <= group; ++i) {
      text += i <= given ? digits[bits >> (18 - 6 * i) & 0x3f] : '=';
    }
  }
  return text;
}

Json audioJson(const AudioRecord& audio) {
  Json json = Json::object();
  if (audio.mediaType && nameOf(*audio.mediaType).json != nullptr) {
    json["media_type"] = nameOf(*audio.mediaType).json;
  }
  addKnown(json, "sample_rate", audio.sampleRate);
  addKnown(json, "bit_rate", audio.bitRate);
  addKnown(json, "channels", audio.channels);
  if (audio.duration) {
    json["duration"] = {{"seconds", audio.duration->seconds}, {"microseconds", audio.duration->microseconds}};
  }
  addKnown(json, "frame_size", audio.frameSize);
  addKnown(json, "data_start_offset", audio.dataStart);
  addKnown(json, "time_calc_start_offset", audio.timeCalcStart);
  addKnown(json, "data_end_offset", audio.dataEnd);
  json["can_seek"] = audio.canSeek;
  json["can_set_speed"] = audio.canSetSpeed;
  json["can_pause"] = audio.canPause;
  json["pictures"] = Json::array();
  for (const library::EmbeddedPicture& picture : audio.pictures) {
    json["pictures"].push_back({{"offset", picture.offset}, {"length", picture.length}});
  }
  return json;
}

Json redirectJson(const RedirectRecord& redirect) {
  Json json = Json::object();
  addKnown(json, "content_type", redirect.contentType);
  json["urls"] = redirect.urls;
  return json;
}

bool isUtf8(const std::string& text) { return utf8::is_valid(text.begin(), text.end()); }

}  // namespace

std::string uriInJson(const std::string& uri) { return isUtf8(uri) ? uri : base64(uri); }

std::string jsonLine(const Record& record) {
  Json json = {{"v", recordVersion}};
  json[isUtf8(record.uri) ? "uri" : "path_b64"] = uriInJson(record.uri);
  json["kind"] = kindName(record.kind);
  addKnown(json, "code", record.code);
  addKnown(json, "mime_type", record.mimeType);
  if (record.audio) {
    json["audio"] = audioJson(*record.audio);
  }
  if (record.redirect) {
    json["redirect"] = redirectJson(*record.redirect);
  }
  if (!record.via.empty()) {
    json["via"] = record.via;
  }
  addKnown(json, "play_position", record.playPosition);
  if (record.file) {
    json["file"] = {{"size", record.file->size},
                    {"mtime", {{"seconds", record.file->seconds}, {"nanoseconds", record.file->nanoseconds}}}};
  }
  if (record.error) {
    json["error"] = {{"name", record.error->name}, {"message", record.error->message}};
  }
  json["cost"] = {{"bytes", record.cost.bytes},
                  {"reads", record.cost.reads},
                  {"requests", record.cost.requests},
                  {"elapsed_us", record.elapsedMicroseconds}};
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace quorin_command
