#include "output/output.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>

#include "command_line/exit_codes.h"
#include "output/talk.h"
#include "output/temporary_name.h"

namespace quorin_command {

namespace {

/// Who writes and who is interrupted may be two threads. Each tells the other first and then looks, so that one of them
/// sees it.
std::atomic<bool> lineUnderWay{false};
std::atomic<bool> interrupted{false};
std::atomic<bool> progressLineStands{false};
static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers use them");

constexpr std::string_view eraseLine = "\r\x1b[K";

/// For signal handlers. A terminal that is held up keeps its line: the end of the program does not wait for it.
void eraseProgressLine() {
  struct pollfd terminal = {STDERR_FILENO, POLLOUT, 0};
  if (progressLineStands && ::poll(&terminal, 1, 0) == 1) {
    static_cast<void>(!::write(STDERR_FILENO, eraseLine.data(), eraseLine.size()));
  }
}

[[noreturn]] void endInterrupted() {
  eraseProgressLine();
  removeTemporaryFile();
  ::_exit(EXIT_INTERRUPTED);
}

void onInterrupt(int /*signal*/) {
  if (interrupted.exchange(true) || !lineUnderWay) {
    endInterrupted();
  }
}

/// The signal ends the program as it would have without us: when this returns, and it can arrive again.
void onEnd(int signal) {
  eraseProgressLine();
  removeTemporaryFile();
  static_cast<void>(::raise(signal));
}

/// A shell that starts a program in the background tells it to ignore SIGINT, and nohup SIGHUP; so it stays.
void handleUnlessIgnored(int signal, void (*handler)(int), int flags) {
  struct sigaction before = {};
  if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) {
    return;
  }
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  ::sigaction(signal, &action, nullptr);
}

/// A closed standard stream is replaced by one on which every use fails, so that no file or connection gets its number.
void fillClosedStreams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) < 0) {
      static_cast<void>(::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
  }
}

}  // namespace

int writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<size_t>(written));
    } else if (errno == EAGAIN) {
      struct pollfd writable = {descriptor, POLLOUT, 0};  // somebody else who has the stream made it non-blocking
      static_cast<void>(::poll(&writable, 1, -1));
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

bool isFine(int error) {
  if (error != 0) {
    hideProgressLine();
    complain("standard output", reasonOf(error));
  }
  return error == 0;
}

void prepareStreams() {
  fillClosedStreams();
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignore, nullptr);
  ::sigaction(SIGXFSZ, &ignore, nullptr);
  handleUnlessIgnored(SIGINT, onInterrupt, SA_RESTART);
  for (const int signal : {SIGTERM, SIGHUP, SIGQUIT}) {
    handleUnlessIgnored(signal, onEnd, static_cast<int>(SA_RESETHAND));
  }
}

bool writeData(std::string_view text) {
  lineUnderWay = true;
  const int error = interrupted ? 0 : writeAll(STDOUT_FILENO, text);
  lineUnderWay = false;
  if (interrupted) {
    endInterrupted();
  }
  return isFine(error);
}

bool closeData() { return isFine(::close(STDOUT_FILENO) == 0 ? 0 : errno); }

void writeTalk(std::string_view text) { static_cast<void>(writeAll(STDERR_FILENO, text)); }

void showProgressLine(std::string_view line) {
  progressLineStands = true;
  writeTalk(std::string(eraseLine).append(line));
}

void hideProgressLine() {
  if (progressLineStands) {
    writeTalk(eraseLine);
    progressLineStands = false;  // not before: a signal would leave the line
  }
}

}  // namespace quorin_command
