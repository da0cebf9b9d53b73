#include "scan/scan_record.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "item/media_names.h"
#include "output/base64.h"
#include "output/credentials.h"
#include "output/json_output.h"

namespace quorin_command {

namespace {

using Json = nlohmann::json;

/// Numbers beyond are rounded by many readers of JSON, a browser among them, and no record needs them.
constexpr long long largestNumber = 1LL << 53;

const Json* member(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found == object.end() ? nullptr : &*found;
}

std::optional<long long> number(const Json& object, const char* name) {
  const Json* const value = member(object, name);
  if (value == nullptr) {
    return std::nullopt;
  }
  const bool isSmallEnough = value->is_number_unsigned() ? value->get<uint64_t>() <= largestNumber
                                                         : value->is_number_integer() && *value >= -largestNumber;
  if (!isSmallEnough) {
    throw NotARecord{fmt::format("{} is not a number that can be", name)};
  }
  return value->get<long long>();
}

std::string text(const Json& value, const char* name) {
  if (!value.is_string()) {
    throw NotARecord{fmt::format("{} is not a text", name)};
  }
  return value.get<std::string>();
}

std::string text(const Json* value, const char* name) { return value == nullptr ? std::string() : text(*value, name); }

/// A part of the record that is an object or an array; empty when it is not there.
const Json& part(const Json& object, const char* name, Json::value_t type) {
  static const Json noObject = Json::object();
  static const Json noArray = Json::array();
  const Json* const value = member(object, name);
  if (value == nullptr) {
    return type == Json::value_t::object ? noObject : noArray;
  }
  if (value->type() != type) {
    throw NotARecord{fmt::format("{} has the wrong type", name)};
  }
  return *value;
}

const Json& object(const Json& parent, const char* name) { return part(parent, name, Json::value_t::object); }

const Json& array(const Json& parent, const char* name) { return part(parent, name, Json::value_t::array); }

Kind kindOf(const std::string& name) {
  for (const Kind kind : {Kind::Audio, Kind::Redirect, Kind::Folder, Kind::Unknown, Kind::Error}) {
    if (name == kindName(kind)) {
      return kind;
    }
  }
  throw NotARecord{"not a record of quorin"};
}

std::string itemName(const Json& json) {
  if (const Json* const encoded = member(json, "path_b64"); encoded != nullptr) {
    const auto bytes = fromBase64(text(*encoded, "path_b64"));
    return bytes ? *bytes : throw NotARecord{"path_b64 is not base64"};
  }
  return text(json.at("uri"), "uri");
}

void readAudio(const Json& audio, ScanRecord& record) {
  record.format = formatInWords(text(member(audio, "media_type"), "media_type"));
  record.bitRate = number(audio, "bit_rate");
  record.sampleRate = number(audio, "sample_rate");
  record.channels = number(audio, "channels");
  const Json& duration = object(audio, "duration");
  if (const auto seconds = number(duration, "seconds")) {
    record.milliseconds = *seconds * 1000 + number(duration, "microseconds").value_or(0) / 1000;
  }
  long long bytes = 0;
  for (const Json& picture : array(audio, "pictures")) {
    bytes = std::min(bytes + number(picture, "length").value_or(0), largestNumber);
  }
  if (const size_t count = array(audio, "pictures").size(); count > 0) {
    record.pictures = static_cast<long long>(count);
    record.pictureBytes = bytes;
  }
}

std::string noteOf(const Json& json) {
  if (const Json& error = object(json, "error"); !error.empty()) {
    return text(error.at("message"), "message");
  }
  if (const Json& targets = array(object(json, "redirect"), "urls"); !targets.empty()) {
    return "to " + text(targets.front(), "urls");
  }
  const Json& via = array(json, "via");
  return via.empty() ? std::string() : "redirected from " + text(via.front(), "via");
}

ScanRecord read(const Json& json) {
  if (const auto version = number(json, "v"); version != recordVersion) {
    throw NotARecord{version
                         ? fmt::format("a record of version {}; this program reads version {}", *version, recordVersion)
                         : "not a record of quorin"};
  }
  ScanRecord record;
  record.kind = kindOf(text(json.at("kind"), "kind"));
  record.name = credentialsHidden(itemName(json));  // others write records, too; and a page has names in parts
  readAudio(object(json, "audio"), record);
  record.note = noteOf(json);
  record.cause = text(member(object(json, "error"), "name"), "name");
  record.size = number(object(json, "file"), "size");
  const Json& cost = object(json, "cost");
  record.bytesRead = number(cost, "bytes");
  record.microseconds = number(cost, "elapsed_us");
  return record;
}

}  // namespace

std::variant<ScanRecord, NotARecord> scanRecord(std::string_view line) {
  const Json json = Json::parse(line, nullptr, false);
  try {
    return read(json);
  } catch (const Json::exception&) {  // a member is missing
    return NotARecord{"not a record of quorin"};
  } catch (const NotARecord& wrong) {
    return wrong;
  }
}

}  // namespace quorin_command
