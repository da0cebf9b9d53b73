#include "report/report.h"

#include <fmt/format.h>

#include "command_line/exit_codes.h"
#include "item/errors.h"
#include "output/new_file.h"
#include "output/talk.h"
#include "output/units.h"
#include "report/report_page.h"
#include "scan/scan_lines.h"

namespace quorin_command {

namespace {

/// Lines that are no records and are told one by one; of a file that is something else altogether, the count will do.
constexpr long long mostComplaints = 10;

std::string shownName(const std::string& path) { return path == "-" ? "standard input" : path; }

/// Reads the records, and says of which lines nothing can be used.
class ScanReader {
 public:
  ScanReader(const std::string& path, bool quiet) : lines_(path), name_(shownName(path)), quiet_(quiet) {}

  void readInto(ReportData& data) {
    for (std::string line; lines_.next(line);) {
      const auto record = scanRecord(line);
      if (const auto* wrong = std::get_if<NotARecord>(&record)) {
        complainAbout(*wrong);
      } else {
        data.add(std::get<ScanRecord>(record));
      }
    }
    if (wrongLines_ > mostComplaints && !quiet_) {
      complain(name_, fmt::format("{} lines in all are not records of quorin", grouped(wrongLines_)));
    }
  }

  int error() const { return lines_.error(); }
  bool hasWrongLines() const { return wrongLines_ > 0; }

 private:
  void complainAbout(const NotARecord& wrong) {
    if (++wrongLines_ <= mostComplaints && !quiet_) {
      complain(fmt::format("{}:{}", name_, lines_.number()), wrong.reason);
    }
  }

  ScanLines lines_;
  std::string name_;
  const bool quiet_;
  long long wrongLines_ = 0;
};

/// @return an errno
int write(const Options& options, const std::string& name, const ReportData& data) {
  NewFile file(options.outputFile, options.force);
  writePage(name, data, [&file](std::string_view text) { file.write(text); });
  return file.commit();
}

int failed(const std::string& cause, ExitCode code) {
  complain(cause);
  return code;
}

}  // namespace

int report(const Options& options) {
  const std::string& path = options.words.front();
  // Asked again when the page gets its name; but a long scan is not read in vain.
  if (const int error = NewFile::whyNotTo(options.outputFile, options.force); error != 0) {
    return failed(cannotWrite(options.outputFile, error).message, EXIT_OUTPUT);
  }
  ReportData data;
  ScanReader reader(path, options.quiet);
  reader.readInto(data);
  if (reader.error() != 0) {
    return failed(fmt::format("{}: {}", shownName(path), reasonOf(reader.error())), EXIT_USAGE);
  }
  if (data.totals().items == 0) {
    return failed(fmt::format("{}: no record of quorin is in it", shownName(path)), EXIT_ALL_FAILED);
  }
  if (const int error = write(options, shownName(path), data); error != 0) {
    return failed(cannotWrite(options.outputFile, error).message, EXIT_OUTPUT);
  }
  if (options.verbose) {
    const Totals& totals = data.totals();
    complain(shownName(path), fmt::format("{} items, of which {} failed and {} were not recognised",
                                          grouped(totals.items), grouped(totals.failed), grouped(totals.unknown)));
  }
  return reader.hasWrongLines() ? EXIT_SOME_FAILED : EXIT_ALL_RECOGNISED;
}

}  // namespace quorin_command
