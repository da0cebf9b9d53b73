#include "report/report_data.h"

#include <fmt/format.h>

#include <algorithm>

#include "output/display_text.h"
#include "output/json_output.h"
#include "output/json_writer.h"

namespace quorin_command {

namespace {

/// The text as a JSON string that may stand inside an HTML element: no "</script" and no "<!--" is in it.
std::string quoted(const std::string& text) {
  JsonWriter json;
  json.value(displayable(text, true));
  std::string harmless;
  for (const char c : json.text()) {
    harmless += c == '<' ? "\\u003c" : std::string(1, c);
  }
  return harmless;
}

std::optional<long long> numberIn(TextTable& table, const std::string& text) {
  return text.empty() ? std::nullopt : std::optional<long long>(table.numberOf(text));
}

/// In the order of their numbers.
std::string kindNames() {
  return fmt::format("\"{}\",\"{}\",\"{}\",\"{}\",\"{}\"", kindName(Kind::Audio), kindName(Kind::Redirect),
                     kindName(Kind::Folder), kindName(Kind::Unknown), kindName(Kind::Error));
}

}  // namespace

size_t TextTable::numberOf(const std::string& text) {
  const auto [entry, isNew] = numbers_.try_emplace(text, numbers_.size());
  if (isNew) {
    list_ += (list_.empty() ? "" : ",") + quoted(text);
  }
  return entry->second;
}

void Column::add(std::optional<long long> value) {
  append(value ? std::to_string(*value) : "null");
  isKnown_ |= value.has_value();
}

void Column::addText(const std::string& text) {
  append(quoted(text));
  isKnown_ = true;
}

void Column::append(std::string_view json) {
  list_ += list_.empty() ? "" : ",";
  list_ += json;
}

void Totals::Sum::add(std::optional<long long> more) {
  constexpr long long largest = 1LL << 53;
  if (more) {
    ++count;
    value = std::clamp(value + *more, -largest, largest);
  }
}

void ReportData::addName(const std::string& name) {
  const size_t folderEnd = name.find_last_of('/') + 1;
  folder_.add(static_cast<long long>(folders_.numberOf(name.substr(0, folderEnd))));
  name_.addText(name.substr(folderEnd));
}

void ReportData::add(const ScanRecord& record) {
  ++totals_.items;
  const bool failed = hasFailed(record.kind, record.cause);
  totals_.unknown += record.kind == Kind::Unknown && !failed ? 1 : 0;
  totals_.failed += failed ? 1 : 0;
  addName(record.name);
  kind_.add(static_cast<long long>(record.kind));
  format_.add(numberIn(formats_, record.format));
  note_.add(numberIn(notes_, record.note));
  cause_.add(numberIn(causes_, record.cause));
  bitRate_.add(record.bitRate);
  sampleRate_.add(record.sampleRate);
  channels_.add(record.channels);
  const auto addAndSum = [](Column& column, Totals::Sum& sum, std::optional<long long> value) {
    column.add(value);
    sum.add(value);
  };
  milliseconds_.add(record.milliseconds);
  if (record.milliseconds >= 0) {  // a damaged item tells a length below 0
    totals_.milliseconds.add(record.milliseconds);
  }
  addAndSum(size_, totals_.size, record.size);
  addAndSum(pictures_, totals_.pictures, record.pictures);
  addAndSum(pictureBytes_, totals_.pictureBytes, record.pictureBytes);
  addAndSum(bytesRead_, totals_.bytesRead, record.bytesRead);
  addAndSum(microseconds_, totals_.microseconds, record.microseconds);
}

void ReportData::write(const Sink& sink) const {
  const auto writeList = [&sink](const char* name, std::string_view list) {
    sink(fmt::format("\"{}\":[", name));
    sink(list);
    sink("],");
  };
  sink("{");
  writeList("kinds", kindNames());
  writeList("folders", folders_.list());
  writeList("formats", formats_.list());
  writeList("notes", notes_.list());
  writeList("causes", causes_.list());
  writeList("folder", folder_.list());
  writeList("name", name_.list());
  writeList("kind", kind_.list());
  writeList("format", format_.list());
  writeList("note", note_.list());
  writeList("cause", cause_.list());
  writeList("length", milliseconds_.list());
  writeList("bitRate", bitRate_.list());
  writeList("sampleRate", sampleRate_.list());
  writeList("channels", channels_.list());
  writeList("size", size_.list());
  writeList("covers", pictures_.list());
  writeList("coverBytes", pictureBytes_.list());
  writeList("read", bytesRead_.list());
  writeList("time", microseconds_.list());
  sink(fmt::format("\"items\":{}}}", totals_.items));
}

}  // namespace quorin_command
