#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "item/record.h"

namespace quorin_command {

/// An item under way.
struct Job {
  uint64_t number = 0;  ///< in the order of finding
  std::string host;     ///< that has to be asked next; empty for what is local
  Record record;        ///< as far as it is known
  std::string text;     ///< what is to be written of it, when it is done
};

/// Jobs go from hand to hand.
using JobPtr = std::unique_ptr<Job>;

/// Which job is the next one. Jobs wait in a queue per host, so that a slow host keeps nobody else waiting, and what is
/// local waits for no host at all. Picking takes the same time however many jobs wait. To be used by one thread at a
/// time.
class Agenda {
 public:
  /// Jobs at one remote host at the same time, at most.
  static constexpr unsigned int mostPerHost = 4;

  /// Local jobs that are taken at once, at most.
  static constexpr size_t mostTogether = 32;

  /// @param most workers that take jobs at a time; and one more, for local jobs, when all of them are at hosts
  explicit Agenda(size_t most) : most_(most) {}

  void add(JobPtr job);

  /// Whether there is a job that may be taken now.
  bool hasNext() const { return mayGoOut() || mayStay(); }

  /// Takes what one worker is to do next; there has to be something. Hosts come first, for they take longest, and take
  /// turns. Of local jobs it is several at once when many wait, because handing one over takes as long as doing it.
  std::vector<JobPtr> take();

  /// To be called when the jobs that were taken at once are done, or have nothing more to do with that host.
  void release(const std::string& host);

 private:
  struct Host {
    std::deque<JobPtr> jobs;
    unsigned int taken = 0;
    bool isReady = false;  ///< whether it is in `ready_`
  };

  bool mayGoOut() const { return !ready_.empty() && here_ + away_ < most_; }
  bool mayStay() const { return !local_.empty() && (here_ + away_ < most_ || here_ == 0); }
  void update(Host& host);

  std::deque<JobPtr> local_;
  std::map<std::string, Host> hosts_;  ///< those that jobs wait for or were taken for
  std::deque<Host*> ready_;            ///< those of which a job can be taken
  const size_t most_;
  size_t here_ = 0;  ///< workers at local jobs
  size_t away_ = 0;  ///< workers at hosts
};

}  // namespace quorin_command
