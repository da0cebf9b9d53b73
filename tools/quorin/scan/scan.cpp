#include "scan/scan.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "item/complaint.h"
#include "item/item.h"
#include "item/item_list.h"
#include "output/json_output.h"
#include "output/output.h"
#include "output/talk.h"
#include "probe/table.h"
#include "scan/background_thread.h"
#include "scan/file_walk.h"
#include "scan/progress.h"
#include "scan/resume_index.h"
#include "scan/scan_pool.h"
#include "scan/scan_summary.h"

namespace quorin_command {

namespace {

/// How often the main thread looks after the progress.
constexpr std::chrono::milliseconds patience(100);

/// Counts what a scan will find, ahead of it, for the progress alone; which goes without where that is not possible.
/// Names of a list are not counted: it may be a pipe.
class Census {
 public:
  explicit Census(const Options& options) : isWhole_(options.filesFrom.empty()) {
    try {
      thread_ = startInBackground([this, &options] { count(options); });
    } catch (const std::system_error&) {
      // Threads are few here.
    }
  }
  ~Census() {
    stopping_ = true;
    if (thread_.joinable()) {
      thread_.join();
    }
  }
  Census(const Census&) = delete;
  Census& operator=(const Census&) = delete;

  unsigned long long found() const { return found_; }
  bool isDone() const { return isWhole_ && done_; }

 private:
  void count(const Options& options) {
    try {
      ItemList words(options.words, "", '\n');
      FileWalk walk([&words](std::string& name) { return words.next(name); }, FileWalk::Order::Any);
      for (FoundItem item; !stopping_ && walk.next(item);) {
        ++found_;
      }
      done_ = true;
    } catch (const std::exception&) {
      found_ = 0;
    }
  }

  const bool isWhole_;
  std::atomic<bool> stopping_{false};
  std::atomic<bool> done_{false};
  std::atomic<unsigned long long> found_{0};
  std::thread thread_;
};

/// Finds the items of a scan; leaves out what an earlier one has told.
class Finder {
 public:
  Finder(const Options& options, const ResumeIndex& told)
      : items_(options.words, options.filesFrom, options.nulSeparated ? '\0' : '\n'),
        walk_([this](std::string& name) { return nextRoot(name); },
              options.ordered ? FileWalk::Order::ByName : FileWalk::Order::Any),
        told_(told) {}

  /// @param beforeWaiting called before it waits for whoever writes the list of items
  bool next(FoundItem& item, const std::function<void()>& beforeWaiting) {
    beforeWaiting_ = &beforeWaiting;
    while (walk_.next(item)) {
      if (!item.file || !told_.tells(uriOf(item.name), *item.file)) {
        return true;
      }
      ++unchanged_;
    }
    return false;
  }

  unsigned long long unchanged() const { return unchanged_; }

  /// errno of the failure to read the list of items.
  int listError() const { return items_.error(); }

 private:
  bool nextRoot(std::string& name) {
    if (!items_.isAtHand()) {
      (*beforeWaiting_)();
    }
    return items_.next(name);
  }

  ItemList items_;
  FileWalk walk_;
  const std::function<void()>* beforeWaiting_ = nullptr;  ///< while an item is looked for
  const ResumeIndex& told_;
  std::atomic<unsigned long long> unchanged_{0};
};

/// Whether standard output is this very file, as in "--resume F >> F".
bool isStandardOutput(const std::string& path) {
  struct stat file = {};
  struct stat out = {};
  return ::stat(path.c_str(), &file) == 0 && ::fstat(STDOUT_FILENO, &out) == 0 && file.st_dev == out.st_dev &&
         file.st_ino == out.st_ino;
}

class Scan {
 public:
  explicit Scan(const Options& options)
      : options_(options), terminal_(standardOutput(options.color)), progress_(options.progress, options.quiet) {}

  void run(Finder& finder) {
    const auto asJson = [](const Record& record) { return jsonLine(record); };
    const auto asRow = [this](const Record& record) { return tableRow(record, terminal_); };
    const bool json = options_.json || terminal_.width == 0;
    census_ = progress_.isShown() ? std::make_unique<Census>(options_) : nullptr;
    finder_ = &finder;
    const auto find = [&finder](FoundItem& item, const auto& beforeWaiting) {
      return finder.next(item, beforeWaiting);
    };
    head_ = json ? std::string() : tableHead(terminal_);
    ScanPool pool(options_, find, json ? ScanPool::Format(asJson) : asRow,
                  [this](const std::vector<JobPtr>& jobs) { tell(jobs); });
    try {
      while (pool.wait(patience)) {
        tell({});
      }
    } catch (const std::bad_alloc&) {
      giveUp("out of memory");
    } catch (const std::exception& exception) {
      giveUp(exception.what());
    } catch (...) {
      giveUp("unknown");
    }
    hideProgressLine();
  }

  const ScanSummary& summary() const { return summary_; }

 private:
  /// Called by the workers with what is done, one at a time, and by the main thread now and then.
  void tell(const std::vector<JobPtr>& jobs) {
    const std::lock_guard<std::mutex> lock(telling_);
    std::string lines = std::exchange(head_, {});
    for (const JobPtr& job : jobs) {
      tell(*job, lines);
    }
    write(lines);
    showProgress();
  }

  /// Ends the program at once: a worker may be waiting for a server, and who finds the items for a pipe that says no
  /// more.
  [[noreturn]] void giveUp(const char* why) {
    hideProgressLine();
    complain(std::string("internal error: ") + why);
    ::_exit(EXIT_OUTPUT);
  }

  /// @param lines what is to be written; the job's is added
  void tell(const Job& job, std::string& lines) {
    summary_.count(job.record);
    current_ = job.record.name;
    const bool complains = hasFailed(job.record) && !options_.quiet;
    if (complains || options_.verbose) {
      write(std::exchange(lines, {}));  // at a terminal both come to the same place, and in their order
      hideProgressLine();
    }
    if (options_.verbose) {
      tellMoreAbout(job.record);
    }
    if (complains) {
      complainAbout(job.record);
    }
    lines += job.text;
  }

  void write(const std::string& lines) {
    if (lines.empty()) {
      return;
    }
    if (terminal_.width != 0) {
      hideProgressLine();
    }
    if (!writeData(lines)) {
      ::_exit(EXIT_OUTPUT);  // at once, as `giveUp` does
    }
  }

  void showProgress() {
    if (census_ != nullptr) {
      progress_.show(
          {summary_.items() + finder_->unchanged(), census_->found(), census_->isDone(), summary_.failed(), current_});
    }
  }

  const Options& options_;
  const Terminal terminal_;
  Progress progress_;
  std::unique_ptr<Census> census_;  ///< for the progress
  const Finder* finder_ = nullptr;  ///< while it runs
  std::mutex telling_;              ///< taken by who writes
  std::string head_;                ///< what is to be written first
  ScanSummary summary_;
  std::string current_;
};

}  // namespace

int scan(const Options& options) {
  const auto start = std::chrono::steady_clock::now();
  ResumeIndex told;
  if (const std::string wrong = options.resume.empty() ? "" : told.read(options.resume); !wrong.empty()) {
    complain(wrong);
    return EXIT_USAGE;
  }
  if (!told.endsInALine() && isStandardOutput(options.resume) && !writeData("\n")) {
    return EXIT_OUTPUT;
  }
  Finder finder(options, told);
  Scan scan(options);
  scan.run(finder);
  if (!options.quiet) {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    writeTalk("quorin: " + scan.summary().text(elapsed.count(), finder.unchanged()));
  }
  if (finder.listError() != 0) {
    complain(options.filesFrom == "-" ? "standard input" : options.filesFrom, reasonOf(finder.listError()));
    return EXIT_USAGE;
  }
  return scan.summary().exitCode();
}

}  // namespace quorin_command
