#include "scan/resume_index.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "item/errors.h"
#include "output/json_output.h"
#include "output/talk.h"
#include "scan/scan_lines.h"

namespace quorin_command {

namespace {

/// FNV-1a, from a start value of one's choice.
uint64_t hashed(const std::string& text, uint64_t start) {
  uint64_t hash = start;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  }
  return hash;
}

/// The file that a record is about, as a record tells it: where redirects were followed, the one that they began at.
std::string fileIn(const nlohmann::json& json) {
  if (json.contains("via")) {
    return json["via"].at(0);
  }
  return json.contains("uri") ? json["uri"] : json.at("path_b64");
}

}  // namespace

std::string ResumeIndex::read(const std::string& path) {
  ScanLines lines(path);
  bool hasRecords = false;
  bool hasOthers = false;
  for (std::string line; lines.next(line);) {
    const bool isRecord = add(line);
    hasRecords |= isRecord;
    hasOthers |= !isRecord && lines.isEnded();
    endsInALine_ = lines.isEnded();
    if (!isRecord) {
      complain(fmt::format("{}:{}", path, lines.number()), "not a record of quorin, passed over");
    }
  }
  if (lines.error() != 0) {
    return fmt::format("{}: {}", path, reasonOf(lines.error()));
  }
  return hasOthers && !hasRecords ? fmt::format("{}: no records of quorin", path) : std::string();
}

bool ResumeIndex::add(const std::string& line) {
  const auto json = nlohmann::json::parse(line, nullptr, false);
  if (!json.is_object() || !json.contains("kind") || !json.contains("v") || json["v"] != recordVersion) {
    return false;
  }
  if (!json.contains("file")) {
    return true;
  }
  try {
    if (json.contains("error") && json["error"].at("name") != notRecognised().name &&
        json["error"].at("name") != emptyItem().name) {
      return true;
    }
    const auto& mtime = json["file"].at("mtime");
    const FileStamp stamp{json["file"].at("size"), mtime.at("seconds"), mtime.at("nanoseconds")};
    keys_.insert(keyOf(fileIn(json), stamp));
  } catch (const nlohmann::json::exception&) {
    return false;
  }
  return true;
}

bool ResumeIndex::tells(const std::string& uri, const FileStamp& file) const {
  return !keys_.empty() && keys_.count(keyOf(uriInJson(uri), file)) != 0;
}

ResumeIndex::Key ResumeIndex::keyOf(const std::string& uri, const FileStamp& file) {
  const std::string text = fmt::format("{} {}.{:09} {}", file.size, file.seconds, file.nanoseconds, uri);
  return {hashed(text, 0xcbf29ce484222325), hashed(text, 0x84222325cbf29ce4)};
}

}  // namespace quorin_command
