#include "scan/background_thread.h"

#include <csignal>
#include <utility>

namespace quorin_command {

namespace {

/// Blocks the signals for as long as it lives; a thread that is started meanwhile inherits that, and for good.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGINT);
    ::sigaddset(&signals, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &signals, &before_);
  }
  ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t before_ = {};
};

}  // namespace

std::thread startInBackground(std::function<void()> work) {
  const BlockedSignals blocked;
  return std::thread(std::move(work));
}

}  // namespace quorin_command
