#pragma once

#include <atomic>
#include <chrono>
#include <string>

#include "command_line/options.h"

namespace quorin_command {

/// How far a run is, on standard error: a line that is written over at a terminal that can do that, plain lines every
/// few seconds elsewhere, if they were asked for. `hideProgressLine` takes the line away. To be used by one thread.
class Progress {
 public:
  /// @param quiet whether little is to be said, so that only who asks for it gets a line
  Progress(ProgressWish wish, bool quiet);

  bool isShown() const { return form_ != Form::None; }

  struct State {
    unsigned long long done = 0;
    unsigned long long found = 0;  ///< 0: not known
    bool allFound = false;
    unsigned long long failed = 0;
    std::string current;  ///< an item, as the user knows it
  };

  /// Shows the state, unless that was done just before.
  void show(const State& state);

 private:
  enum class Form { None, Line, Lines };
  using Clock = std::chrono::steady_clock;

  std::string text(const State& state) const;

  Form form_;
  const Clock::time_point start_ = Clock::now();
  Clock::time_point shown_;
};

}  // namespace quorin_command
