#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "scan/scan_record.h"

namespace quorin_command {

/// Takes text piece by piece.
using Sink = std::function<void(std::string_view text)>;

/// Texts, each kept once and known by its number. Written as one JSON array.
class TextTable {
 public:
  size_t numberOf(const std::string& text);
  const std::string& list() const { return list_; }

 private:
  std::unordered_map<std::string, size_t> numbers_;
  std::string list_;
};

/// One value of every item. Written as one JSON array, which is empty when no item has the value.
class Column {
 public:
  void add(std::optional<long long> value);
  void addText(const std::string& text);
  std::string_view list() const { return isKnown_ ? list_ : std::string_view(); }

 private:
  void append(std::string_view json);

  std::string list_;
  bool isKnown_ = false;
};

/// Sums over the items of a scan. They stop growing at what a browser counts exactly.
struct Totals {
  struct Sum {
    long long count = 0;  ///< items that have the value
    long long value = 0;
    void add(std::optional<long long> more);
  };

  long long items = 0;
  long long unknown = 0;
  long long failed = 0;
  Sum milliseconds;
  Sum size;
  Sum pictures;
  Sum pictureBytes;
  Sum bytesRead;
  Sum microseconds;
};

/// The items of a scan as the page of a report takes them: by columns, because a page with the names of the values in
/// every item would be three times as long.
class ReportData {
 public:
  void add(const ScanRecord& record);

  const Totals& totals() const { return totals_; }

  /// Writes one JSON object that may stand inside an HTML element: there is no "<" in it. Texts are as they may be
  /// shown (display_text.h).
  void write(const Sink& sink) const;

 private:
  void addName(const std::string& name);

  Totals totals_;
  TextTable folders_, formats_, notes_, causes_;
  Column folder_, name_, kind_, format_, note_, cause_;
  Column milliseconds_, bitRate_, sampleRate_, channels_, size_, pictures_, pictureBytes_, bytesRead_, microseconds_;
};

}  // namespace quorin_command
