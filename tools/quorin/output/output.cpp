#include "output/output.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "command_line/exit_codes.h"
#include "output/talk.h"

namespace quorin_command {

namespace {

volatile std::sig_atomic_t lineUnderWay = 0;
volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int /*signal*/) {
  if (lineUnderWay == 0 || interrupted != 0) {
    ::_exit(EXIT_INTERRUPTED);
  }
  interrupted = 1;
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
  struct sigaction before = {};
  // A shell that starts a program in the background tells it to ignore SIGINT; so it stays.
  if (::sigaction(SIGINT, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) {
    return;
  }
  struct sigaction end = {};
  end.sa_handler = onInterrupt;
  end.sa_flags = SA_RESTART;
  ::sigaction(SIGINT, &end, nullptr);
}

bool writeData(std::string_view text) {
  lineUnderWay = 1;
  const int error = writeAll(STDOUT_FILENO, text);
  lineUnderWay = 0;
  if (interrupted != 0) {
    ::_exit(EXIT_INTERRUPTED);
  }
  return isFine(error);
}

bool closeData() { return isFine(::close(STDOUT_FILENO) == 0 ? 0 : errno); }

void writeTalk(std::string_view text) { static_cast<void>(writeAll(STDERR_FILENO, text)); }

}  // namespace quorin_command
