#include "output/json_output.h"

#include <utf8.h>

#include <nlohmann/json.hpp>
#include <string_view>

#include "item/media_names.h"
#include "output/base64.h"

namespace quorin_command {

namespace {

using Json = nlohmann::ordered_json;

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

std::string uriInJson(const std::string& uri) { return isUtf8(uri) ? uri : base64(uri); }

void addName(Json& object, const char* member, const std::string& name) {
  object[isUtf8(name) ? member : "path_b64"] = uriInJson(name);
}

std::string jsonLine(const Record& record) { return jsonLine(record, Json::object()); }

std::string jsonLine(const Record& record, const Json& more) {
  Json json = {{"v", recordVersion}};
  addName(json, "uri", record.uri);
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
  json.update(more);
  json["cost"] = {{"bytes", record.cost.bytes},
                  {"reads", record.cost.reads},
                  {"requests", record.cost.requests},
                  {"elapsed_us", record.elapsedMicroseconds}};
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace quorin_command
