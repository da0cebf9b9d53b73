#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "command_line/options.h"
#include "item/analysis.h"
#include "item/record.h"
#include "scan/agenda.h"
#include "scan/background_thread.h"
#include "scan/file_walk.h"

namespace quorin_command {

/// Analyses many items at once: one thread that finds them, and workers that each have an Analyzer of their own. What
/// is found and what is done but not taken is bounded, so memory is too, whatever the number of items.
class ScanPool {
 public:
  /// Items that are found, being analysed, or done and not taken.
  static constexpr uint64_t mostUnderWay = 4096;

  struct Result {
    Record record;
    std::string text;  ///< as `format` made it
  };

  /// Gives the next item; false at the end. Calls `beforeWaiting` before it may have to wait for whoever names the
  /// items, so that what it has given is looked at meanwhile. Called by one thread of the pool.
  using Find = std::function<bool(FoundItem&, const std::function<void()>& beforeWaiting)>;
  using Format = std::function<std::string(const Record&)>;
  using StartThread = std::function<std::thread(std::function<void()>)>;

  /// There is one worker more than the options ask for: while all others wait for servers, it does what is local.
  /// Where fewer threads can be had than the options ask for, those do the work that there are. Throws when there
  /// cannot be a single worker.
  /// @param format makes of a record what is to be written; called by the workers
  ScanPool(const Options& options, Find find, Format format, const StartThread& startThread = startInBackground);

  /// Ends the threads, each behind the item it is at.
  ~ScanPool();
  ScanPool(const ScanPool&) = delete;
  ScanPool& operator=(const ScanPool&) = delete;

  /// Waits for results until they are many or there is nothing else to do, at most that long, and takes all there are;
  /// in the order of finding when the options say so. Throws what ended a thread of the pool, once the results that
  /// came before it are taken.
  /// @param results emptied first
  /// @return false when there will be no more
  bool take(std::vector<Result>& results, std::chrono::milliseconds patience);

 private:
  /// Results that are worth waking up whoever takes them, while there is more to do.
  static constexpr size_t enoughToTake = 256;

  /// How long a worker holds results back to hand over several at once.
  static constexpr std::chrono::milliseconds mostHeldBack{5};

  struct Done {
    uint64_t number;
    Result result;
  };

  void start(const StartThread& startThread);
  void stop();
  void guarded(void (ScanPool::*duty)());
  void findItems();
  bool takeIn(std::vector<Job>& jobs);
  void work();
  bool takeJobs(std::vector<Job>& jobs);
  void doAll(Analysis& analysis, std::vector<Job>& jobs, std::vector<Done>& done);
  void handOver(std::vector<Done>& done);
  void release(const std::string& host, std::vector<Job>& further);

  const Options options_;
  const Find find_;
  const Format format_;

  std::mutex mutex_;
  std::condition_variable found_;     ///< jobs came, or a host has room again, or the end
  std::condition_variable done_;      ///< results came, or the end
  std::condition_variable roomMade_;  ///< results were taken
  Agenda agenda_;
  std::map<uint64_t, Result> results_;  ///< by number
  uint64_t foundCount_ = 0;
  uint64_t doneCount_ = 0;
  uint64_t takenCount_ = 0;
  bool allFound_ = false;
  bool stopping_ = false;
  std::exception_ptr failure_;  ///< what ended a thread

  std::vector<std::thread> threads_;
};

}  // namespace quorin_command
