#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace quorin_test {

/// One case of a series of cases.
struct RecordedCase {
  std::string series;    ///< "{}" in it stands for the number; a series without is a single case
  long long number = 0;  ///< ascends within a series

  std::string text() const;
};

/// What many cases of one matter led to, as a text to be read and kept: each outcome once, headed by the cases that
/// lead to it. A log much like one that stands there in full is told as difference from that.
///
/// @code
///   === read {1-3, 5} fails
///   status 0
///   log, from that of "nothing fails":
///   = 12 lines
///   - the first line left out ... 3 lines
///   + a new line
///   = 5 lines
/// @endcode
///
/// A range spans the cases of the series, not all numbers between its ends.
class OutcomeRecord {
 public:
  /// @param title first lines of the text
  explicit OutcomeRecord(std::string title);

  /// Ends of lines apart, what cannot be printed is written as "\xNN".
  void add(const RecordedCase& recorded, const std::string& answer, const std::string& log);

  std::string text() const;

  /// How this record differs from the text of another: some cases with the first lines that differ, or what else is
  /// wrong; empty when nothing is.
  std::string differencesFrom(const std::string& golden) const;

 private:
  struct Entry {
    long long number;
    size_t outcome;
  };

  struct WholeLog {
    std::string name;
    std::vector<std::string> lines;
  };

  std::string shownLog(const RecordedCase& recorded, const std::string& log);
  std::string casesOf(size_t outcome) const;
  static std::string numbersOf(const std::vector<Entry>& entries, size_t outcome);

  std::string title_;
  std::vector<WholeLog> wholeLogs_;
  std::vector<std::string> series_;                    ///< in the order of their first cases
  std::map<std::string, std::vector<Entry>> entries_;  ///< by series
  std::vector<std::string> outcomes_;                  ///< as they are written
  std::unordered_map<std::string, size_t> outcomeOf_;  ///< answer and log -> index
};

}  // namespace quorin_test
