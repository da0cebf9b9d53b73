#include "probe/probe.h"

#include <string>

#include "item/item_run.h"
#include "output/json_output.h"
#include "output/output.h"
#include "probe/card.h"
#include "probe/table.h"

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

}  // namespace

int probe(const Options& options) {
  Report report(options);
  return runItems(options, {[](Analysis& /*analysis*/, Record& /*record*/) {},
                            [&report](const Record& record) { return report.add(record); }});
}

}  // namespace quorin_command
