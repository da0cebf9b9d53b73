#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "command_line/options.h"
#include "item/record.h"
#include "scan/file_walk.h"

namespace quorin_command {

/// Analyses many items at once: one thread that finds them, and workers that each have an Analyzer of their own. What
/// is found and what is done but not taken is bounded, so memory is too, whatever the number of items.
class ScanPool {
 public:
  /// Workers that one remote host is asked by at the same time, at most.
  static constexpr unsigned int mostPerHost = 4;

  /// Items that are found, being analysed, or done and not taken.
  static constexpr uint64_t mostUnderWay = 4096;

  struct Result {
    Record record;
    std::string text;  ///< as `format` made it
  };

  /// @param find gives the next item; false at the end. Called by one thread of the pool.
  /// @param format makes of a record what is to be written; called by the workers
  ScanPool(const Options& options, std::function<bool(FoundItem&)> find,
           std::function<std::string(const Record&)> format);

  /// Ends the threads, each behind the item it is at.
  ~ScanPool();
  ScanPool(const ScanPool&) = delete;
  ScanPool& operator=(const ScanPool&) = delete;

  /// Waits for results, at most that long, and takes all there are; in the order of finding when the options say so.
  /// @param results emptied first
  /// @return false when there will be no more
  bool take(std::vector<Result>& results, std::chrono::milliseconds patience);

 private:
  struct Job {
    uint64_t number = 0;
    FoundItem item;
    std::string host;  ///< empty for what is local
  };

  void findItems();
  void work(const Options& options);
  bool takeJob(Job& job);
  std::deque<Job>::iterator nextJob();
  void finish(const Job& job, Result result);

  const std::function<bool(FoundItem&)> find_;
  const std::function<std::string(const Record&)> format_;
  const bool ordered_;

  std::mutex mutex_;
  std::condition_variable found_;     ///< jobs came, or a host has room again, or the end
  std::condition_variable done_;      ///< results came
  std::condition_variable roomMade_;  ///< results were taken
  std::deque<Job> jobs_;
  std::map<uint64_t, Result> results_;           ///< by number
  std::map<std::string, unsigned int> perHost_;  ///< workers at it
  uint64_t foundCount_ = 0;
  uint64_t takenCount_ = 0;
  bool allFound_ = false;
  bool stopping_ = false;

  std::vector<std::thread> threads_;
};

}  // namespace quorin_command
