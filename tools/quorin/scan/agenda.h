#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>

#include "item/record.h"

namespace quorin_command {

/// An item under way.
struct Job {
  uint64_t number = 0;  ///< in the order of finding
  std::string host;     ///< that has to be asked next; empty for what is local
  Record record;        ///< as far as it is known
};

/// Which job is the next one. Jobs wait in a queue per host, so that a slow host keeps nobody else waiting, and what is
/// local waits for no host at all. Picking takes the same time however many jobs wait. To be used by one thread at a
/// time.
class Agenda {
 public:
  /// Jobs at one remote host at the same time, at most.
  static constexpr unsigned int mostPerHost = 4;

  /// @param most jobs at a time; and one more, which is local, when all of them are at hosts
  explicit Agenda(size_t most) : most_(most) {}

  void add(Job job);

  /// Whether there is a job that may be taken now.
  bool hasNext() const { return mayGoOut() || mayStay(); }

  /// Takes the next job; there has to be one. Hosts come first, for they take longest, and take turns.
  Job take();

  /// To be called when a job that was taken is done, or has nothing more to do with that host.
  void release(const std::string& host);

 private:
  struct Host {
    std::deque<Job> jobs;
    unsigned int taken = 0;
    bool isReady = false;  ///< whether it is in `ready_`
  };

  bool mayGoOut() const { return !ready_.empty() && here_ + away_ < most_; }
  bool mayStay() const { return !local_.empty() && (here_ + away_ < most_ || here_ == 0); }
  void update(Host& host);

  std::deque<Job> local_;
  std::map<std::string, Host> hosts_;  ///< those that jobs wait for or were taken for
  std::deque<Host*> ready_;            ///< those of which a job can be taken
  const size_t most_;
  size_t here_ = 0;  ///< local jobs that are taken
  size_t away_ = 0;  ///< others that are
};

}  // namespace quorin_command
