#include "outcome_record.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <utility>

namespace quorin_test {

namespace {

using Lines = std::vector<std::string>;

constexpr const char* casesMark = "=== ";
constexpr size_t shownCases = 3;
constexpr size_t shownLines = 6;

Lines linesOf(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::string printable(const std::string& text) {
  static constexpr char hexDigits[] = "0123456789abcdef";
  std::string shown;
  for (const char c : text) {
    if (c == '\n' || (c >= ' ' && c <= '~')) {
      shown += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      shown += {'\\', 'x', hexDigits[byte >> 4], hexDigits[byte & 15]};
    }
  }
  return shown;
}

/// Length of the longest common subsequence of the lines from each pair of indexes on.
std::vector<std::vector<unsigned>> commonLengths(const Lines& before, const Lines& after) {
  std::vector<std::vector<unsigned>> common(before.size() + 1, std::vector<unsigned>(after.size() + 1));
  for (size_t i = before.size(); i-- > 0;) {
    for (size_t j = after.size(); j-- > 0;) {
      common[i][j] = before[i] == after[j] ? common[i + 1][j + 1] + 1 : std::max(common[i + 1][j], common[i][j + 1]);
    }
  }
  return common;
}

std::string lineCount(size_t count) { return std::to_string(count) + (count == 1 ? " line" : " lines"); }

/// `after` told as what is kept of `before`, what is left out and what is new. Of what is left out only the first line
/// is shown: the reader has `before`.
std::string lineDifference(const Lines& before, const Lines& after) {
  const auto common = commonLengths(before, after);
  std::string text;
  for (size_t i = 0, j = 0; i < before.size() || j < after.size();) {
    const size_t oldBegin = i;
    while (i < before.size() && j < after.size() && before[i] == after[j]) {
      ++i;
      ++j;
    }
    text += i != oldBegin ? "= " + lineCount(i - oldBegin) + '\n' : "";
    const size_t kept = i;
    const size_t newBegin = j;
    while ((i < before.size() || j < after.size()) &&
           !(i < before.size() && j < after.size() && before[i] == after[j])) {
      const bool isLeftOut = i < before.size() && (j == after.size() || common[i + 1][j] >= common[i][j + 1]);
      ++(isLeftOut ? i : j);
    }
    if (i != kept) {
      text += "- " + before[kept] + (i == kept + 1 ? "" : " ... " + lineCount(i - kept)) + '\n';
    }
    for (size_t line = newBegin; line < j; ++line) {
      text += "+ " + after[line] + '\n';
    }
  }
  return text;
}

std::string withNumbers(const std::string& series, const std::string& numbers) {
  const size_t place = series.find("{}");
  return place == std::string::npos ? series : std::string(series).replace(place, 2, numbers);
}

/// The outcomes of a written record, to be asked by case.
class WrittenRecord {
 public:
  explicit WrittenRecord(const std::string& text) {
    bool wasCases = false;
    for (const std::string& line : linesOf(text)) {
      const bool isCases = line.rfind(casesMark, 0) == 0;
      if (isCases && !wasCases) {
        outcomes_.emplace_back();
      }
      if (isCases) {
        addCases(line.substr(std::string(casesMark).size()));
      } else if (!outcomes_.empty()) {
        outcomes_.back() += line + '\n';
      }
      wasCases = isCases;
    }
  }

  /// Null when there is none.
  const std::string* outcomeOf(const RecordedCase& asked) const {
    const auto ranges = ranges_.find(asked.series);
    if (ranges != ranges_.end()) {
      for (const Range& range : ranges->second) {
        if (asked.number >= range.first && asked.number <= range.last) {
          return &outcomes_[range.outcome];
        }
      }
    }
    return nullptr;
  }

 private:
  struct Range {
    long long first;
    long long last;
    size_t outcome;
  };

  /// @param line such as "read {1-3, 5} fails"
  void addCases(const std::string& line) {
    const size_t begin = line.find('{');
    const size_t end = line.find('}');
    if (begin == std::string::npos || end == std::string::npos) {
      ranges_[line].push_back({0, 0, outcomes_.size() - 1});
      return;
    }
    std::vector<Range>& ranges = ranges_[line.substr(0, begin + 1) + line.substr(end)];
    std::istringstream numbers(line.substr(begin + 1, end - begin - 1));
    char separator = ',';
    for (long long first = 0; separator == ',' && numbers >> first;) {
      long long last = first;
      if (numbers >> separator && separator == '-') {
        numbers >> last >> separator;
      }
      ranges.push_back({first, last, outcomes_.size() - 1});
    }
  }

  Lines outcomes_;
  std::map<std::string, std::vector<Range>> ranges_;
};

/// The first lines that differ.
std::string firstDifference(const std::string& golden, const std::string& actual) {
  const Lines before = linesOf(golden);
  const Lines after = linesOf(actual);
  const size_t shorter = std::min(before.size(), after.size());
  size_t line = 0;
  while (line < shorter && before[line] == after[line]) {
    ++line;
  }
  std::string text = "    from line " + std::to_string(line + 1) + " of the outcome on:\n";
  const auto show = [&text, line](const Lines& lines, const char* mark) {
    for (size_t i = line; i < std::min(lines.size(), line + shownLines); ++i) {
      text += mark + lines[i] + '\n';
    }
  };
  show(before, "    golden: ");
  show(after, "    now:    ");
  return text;
}

}  // namespace

std::string RecordedCase::text() const { return withNumbers(series, std::to_string(number)); }

OutcomeRecord::OutcomeRecord(std::string title) : title_(std::move(title)) {}

void OutcomeRecord::add(const RecordedCase& recorded, const std::string& answer, const std::string& log) {
  const auto [known, isNew] = outcomeOf_.try_emplace(answer + '\n' + log, outcomes_.size());
  if (isNew) {
    outcomes_.push_back(printable(answer) + shownLog(recorded, printable(log)) + '\n');
  }
  std::vector<Entry>& entries = entries_[recorded.series];
  if (entries.empty()) {
    series_.push_back(recorded.series);
  }
  entries.push_back({recorded.number, known->second});
}

std::string OutcomeRecord::shownLog(const RecordedCase& recorded, const std::string& log) {
  const std::vector<std::string> lines = linesOf(log);
  std::string shortest = "log:\n" + log;
  const size_t worthTelling = shortest.size() / 2;
  bool isWhole = true;
  for (const WholeLog& whole : wholeLogs_) {
    std::string shown = "log, from that of \"" + whole.name + "\":\n" + lineDifference(whole.lines, lines);
    if (shown.size() < std::min(worthTelling, shortest.size())) {
      shortest = std::move(shown);
      isWhole = false;
    }
  }
  if (isWhole) {
    wholeLogs_.push_back({recorded.text(), lines});
  }
  return shortest;
}

std::string OutcomeRecord::text() const {
  std::string text = title_ + '\n';
  for (size_t outcome = 0; outcome < outcomes_.size(); ++outcome) {
    text += casesOf(outcome) + outcomes_[outcome];
  }
  return text;
}

std::string OutcomeRecord::casesOf(size_t outcome) const {
  std::string text;
  for (const std::string& series : series_) {
    const std::string numbers = numbersOf(entries_.at(series), outcome);
    if (!numbers.empty()) {
      text += casesMark + withNumbers(series, '{' + numbers + '}') + '\n';
    }
  }
  return text;
}

std::string OutcomeRecord::numbersOf(const std::vector<Entry>& entries, size_t outcome) {
  std::string numbers;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].outcome != outcome) {
      continue;
    }
    const size_t first = i;
    while (i + 1 < entries.size() && entries[i + 1].outcome == outcome) {
      ++i;
    }
    numbers += (numbers.empty() ? "" : ", ") + std::to_string(entries[first].number);
    numbers += i == first ? "" : '-' + std::to_string(entries[i].number);
  }
  return numbers;
}

std::string OutcomeRecord::differencesFrom(const std::string& golden) const {
  const WrittenRecord written(golden);
  size_t differing = 0;
  std::set<std::pair<const std::string*, size_t>> shown;
  std::string details;
  for (const std::string& series : series_) {
    for (const Entry& entry : entries_.at(series)) {
      const RecordedCase asked = {series, entry.number};
      const std::string& now = outcomes_[entry.outcome];
      const std::string* const before = written.outcomeOf(asked);
      if (before != nullptr && *before == now) {
        continue;
      }
      ++differing;
      if (shown.size() < shownCases && shown.insert({before, entry.outcome}).second) {
        details +=
            "  " + asked.text() + '\n' + (before != nullptr ? firstDifference(*before, now) : "    is not in it\n");
      }
    }
  }
  if (differing != 0) {
    return std::to_string(differing) + " cases differ, among them:\n" + details;
  }
  const std::string now = text();
  return now == golden ? "" : "It holds something that there is no case for:\n" + firstDifference(golden, now);
}

}  // namespace quorin_test
