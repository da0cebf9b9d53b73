#include "probe.h"

#include <string>

#include "analysis.h"
#include "card.h"
#include "exit_codes.h"
#include "item_list.h"
#include "json_output.h"
#include "output.h"
#include "table.h"
#include "talk.h"

namespace quorin_command {

namespace {

/// Writes records as they come, in the form that was asked for.
class Report {
 public:
  explicit Report(const Options& options)
      : terminal_(standardOutput(options.color)),
        json_(options.json),
        table_(options.words.size() != 1 || !options.filesFrom.empty()) {}

  /// @return false when it cannot be written
  bool add(const Record& record) {
    if (json_) {
      return writeData(jsonLine(record));
    }
    if (table_) {
      const std::string head = started_ ? std::string() : tableHead(terminal_);
      started_ = true;
      return writeData(head + tableRow(record, terminal_));
    }
    // Of an item that could not be opened there is nothing to tell but the cause, and that has been said.
    return record.kind == Kind::Error || writeData(card(record, terminal_));
  }

 private:
  Terminal terminal_;
  bool json_;
  bool table_;
  bool started_ = false;
};

struct Tally {
  unsigned long long items = 0;
  unsigned long long unknown = 0;
  unsigned long long failed = 0;

  void count(const Record& record) {
    ++items;
    unknown += record.kind == Kind::Unknown ? 1U : 0U;
    failed += record.kind == Kind::Error ? 1U : 0U;
  }

  ExitCode exitCode() const {
    if (failed == 0 && unknown == 0) {
      return EXIT_ALL_RECOGNISED;
    }
    return failed == items ? EXIT_ALL_FAILED : EXIT_SOME_FAILED;
  }
};

/// How redirects led to where the trouble is; nothing when none did.
std::string wayTo(const Record& record) {
  std::string way;
  for (const std::string& uri : chainOf(record)) {
    way += (way.empty() ? "; redirects: " : " -> ") + uri;
  }
  return way;
}

}  // namespace

int probe(const Options& options) {
  Analysis analysis(options);
  Report report(options);
  ItemList items(options.words, options.filesFrom, options.nulSeparated ? '\0' : '\n');
  Tally tally;
  for (std::string name; items.next(name);) {
    const Record record = analysis.of(name);
    tally.count(record);
    if (record.error && !options.quiet) {
      complain(name, record.error->message + wayTo(record));
    }
    if (!report.add(record)) {
      return EXIT_OUTPUT;
    }
  }
  if (items.error() != 0) {
    complain(options.filesFrom == "-" ? "standard input" : options.filesFrom, reasonOf(items.error()));
    return EXIT_USAGE;
  }
  return tally.exitCode();
}

}  // namespace quorin_command
