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

/// Analyses many items at once: one thread that finds them, and workers that each have an Analyzer of their own and
/// tell what they found out. What is found but not told is bounded, so memory is too, whatever the number of items.
class ScanPool {
 public:
  /// Items that are found, being analysed, or done and not told.
  static constexpr uint64_t mostUnderWay = 4096;

  /// Gives the next item; false at the end. Calls `beforeWaiting` before it may have to wait for whoever names the
  /// items, so that what it has given is looked at meanwhile. Called by one thread of the pool.
  using Find = std::function<bool(FoundItem&, const std::function<void()>& beforeWaiting)>;
  using Format = std::function<std::string(const Record&)>;
  /// Is shown what is done, in the order of finding when the options say so. Called by one worker at a time, while the
  /// others go on.
  using Tell = std::function<void(const std::vector<JobPtr>&)>;
  using StartThread = std::function<std::thread(std::function<void()>)>;

  /// There is one worker more than the options ask for: while all others wait for servers, it does what is local.
  /// Where fewer threads can be had than the options ask for, those do the work that there are. Throws when there
  /// cannot be a single worker.
  /// @param format makes of a record what is to be written; called by the workers
  ScanPool(const Options& options, Find find, Format format, Tell tell,
           const StartThread& startThread = startInBackground);

  /// Ends the threads, each behind the item it is at.
  ~ScanPool();
  ScanPool(const ScanPool&) = delete;
  ScanPool& operator=(const ScanPool&) = delete;

  /// Waits until everything is told, at most that long. Throws what ended a thread of the pool.
  /// @return false when there will be no more
  bool wait(std::chrono::milliseconds patience);

 private:
  /// How long a worker holds back what is done to hand over several jobs at once.
  static constexpr std::chrono::milliseconds mostHeldBack{5};

  void start(const StartThread& startThread);
  void stop();
  void guarded(void (ScanPool::*duty)());
  void findItems();
  bool takeIn(std::vector<JobPtr>& jobs);
  void work();
  bool takeJobs(std::vector<JobPtr>& jobs);
  void doAll(Analysis& analysis, std::vector<JobPtr>& jobs, std::vector<JobPtr>& done);
  void handOver(std::vector<JobPtr>& done);
  void tellDone(std::unique_lock<std::mutex>& lock);
  std::vector<JobPtr> takeDone();
  void release(const std::string& host, std::vector<JobPtr>& further);

  const Options options_;
  const Find find_;
  const Format format_;
  const Tell tell_;

  std::mutex mutex_;
  std::condition_variable found_;     ///< jobs came, or a host has room again, or the end
  std::condition_variable ended_;     ///< all is told, or a thread failed
  std::condition_variable roomMade_;  ///< jobs were told
  Agenda agenda_;
  std::map<uint64_t, JobPtr> done_;  ///< and not told, by number
  uint64_t foundCount_ = 0;
  uint64_t doneCount_ = 0;
  uint64_t toldCount_ = 0;
  bool isTelling_ = false;  ///< a worker is
  bool allFound_ = false;
  bool stopping_ = false;
  std::exception_ptr failure_;  ///< what ended a thread

  std::vector<std::thread> threads_;
};

}  // namespace quorin_command
