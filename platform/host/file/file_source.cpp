#include "file/file_source.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <utility>

#include "url/openers.h"

namespace md::host {

namespace {

/// Most bytes of one read(2). A result has to fit the ssize_t of a 32-bit machine.
constexpr unsigned int mostPerRead = 1U << 30;

/// Time of the kernel's last tick. Five times faster to ask for than the exact one, and an analysis asks often.
std::chrono::milliseconds coarseTime() {
  timespec now = {};
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::milliseconds(now.tv_nsec / 1000000);
}

/// Waits until a read(2) would not block, or `deadline` passes.
/// @return 0 or a SourceCode
int waitForBytes(int descriptor, const std::optional<std::chrono::steady_clock::time_point>& deadline) {
  using std::chrono::milliseconds;
  while (true) {
    milliseconds left(-1);  // to poll(): without end
    if (deadline) {
      left = std::chrono::ceil<milliseconds>(*deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0) {
        return SOURCE_TIMED_OUT;
      }
    }
    pollfd waiting = {descriptor, POLLIN, 0};
    const int ready = ::poll(&waiting, 1, static_cast<int>(left.count()));
    if (ready > 0) {
      return 0;
    }
    if (ready < 0 && errno != EINTR) {
      return SOURCE_READ_FAILED;
    }
  }
}

}  // namespace

int openCodeOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return OPEN_NOT_FOUND;
    case EACCES:
    case EPERM:
      return OPEN_PERMISSION_DENIED;
    case EAGAIN:
    case EBUSY:
    case EMFILE:
    case ENFILE:
    case ETXTBSY:
      return OPEN_BUSY;
    case EINVAL:
    case EISDIR:
    case ELOOP:
    case ENAMETOOLONG:
    case ENXIO:  // a socket, or a device without a driver
    case EXDEV:  // a path that would leave its medium
      return OPEN_BAD_URI;
    default:
      return error;
  }
}

int makeFileSource(UniqueFd file, const TimeLimits& limits, boost::shared_ptr<MdchUrlBase>& url) {
  struct stat status = {};
  if (::fstat(file.get(), &status) != 0) {
    return openCodeOf(errno);
  }
  if (S_ISDIR(status.st_mode)) {
    return OPEN_BAD_URI;
  }
  const auto kind = S_ISREG(status.st_mode) ? FileSource::Kind::regular : FileSource::Kind::stream;
  url = boost::make_shared<FileSource>(std::move(file), kind, status.st_size, limits);
  return OPEN_OK;
}

// The windows stay as they are: nothing of them is looked at before it is read.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init,hicpp-member-init)
FileSource::FileSource(UniqueFd file, Kind kind, long long size, const TimeLimits& limits)
    : file_(std::move(file)), kind_(kind), limits_(limits), size_(size), sizeTold_(coarseTime()) {}

int FileSource::read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) {
  bytesRead = 0;
  if (length == 0 || atEnd_) {
    return 0;
  }
  const size_t most = std::min(length, mostPerRead);
  const long long result = kind_ == Kind::regular ? readRegular(buffer, most) : readStream(buffer, most);
  if (result < 0) {
    return static_cast<int>(result);
  }
  if (result == 0) {
    atEnd_ = true;
    sizeKnown_ = false;
    start_.size = 0;
    last_.size = 0;
  }
  position_ += result;
  bytesRead = static_cast<unsigned int>(result);
  return 0;
}

long long FileSource::readRegular(unsigned char* buffer, size_t length) {
  for (const Window* const window : {&start_, &last_}) {
    if (const long long kept = window->copy(position_, buffer, length); kept > 0) {
      return kept;
    }
  }
  if (length >= windowCapacity) {
    return readFile(buffer, length);
  }
  Window& window = position_ == 0 ? start_ : last_;
  const long long result = readFile(window.bytes.data(), position_ == 0 ? windowCapacity : length);
  window.begin = position_;
  window.size = std::max(result, 0LL);
  return result > 0 ? window.copy(position_, buffer, length) : result;
}

long long FileSource::Window::copy(long long position, unsigned char* buffer, size_t length) const {
  const long long skipped = position - begin;
  if (skipped < 0 || skipped >= size) {
    return 0;
  }
  const auto count = static_cast<size_t>(std::min<long long>(static_cast<long long>(length), size - skipped));
  std::memcpy(buffer, bytes.data() + skipped, count);
  return static_cast<long long>(count);
}

long long FileSource::readFile(unsigned char* buffer, size_t length) {
  // The kernel refuses a range that ends above the highest offset, although its start just lies behind the end.
  const auto most = static_cast<size_t>(std::min<long long>(static_cast<long long>(length), LLONG_MAX - position_));
  ssize_t result = 0;
  do {
    ++cost_.reads;
    result = ::pread(file_.get(), buffer, most, position_);
  } while (result < 0 && errno == EINTR);
  if (result < 0) {
    return errno == ESTALE ? SOURCE_CHANGED : SOURCE_READ_FAILED;
  }
  cost_.bytes += static_cast<unsigned long long>(result);
  return result;
}

long long FileSource::readStream(unsigned char* buffer, size_t length) {
  const auto until = deadline();
  while (failure_ == 0) {
    // Waiting comes first also because read(2) takes a FIFO that no writer has opened yet for one at its end.
    failure_ = waitForBytes(file_.get(), until);
    if (failure_ != 0) {
      break;
    }
    ++cost_.reads;
    const ssize_t result = ::read(file_.get(), buffer, length);
    if (result >= 0) {
      cost_.bytes += static_cast<unsigned long long>(result);
      return result;
    }
    if (errno != EAGAIN && errno != EINTR) {
      failure_ = SOURCE_READ_FAILED;
    }
  }
  return failure_;
}

std::optional<FileSource::Clock::time_point> FileSource::deadline() const {
  std::optional<Clock::time_point> earliest;
  if (limits_.stall.count() > 0) {
    earliest = Clock::now() + limits_.stall;
  }
  if (limits_.total.count() > 0) {
    const Clock::time_point end = opened_ + limits_.total;
    earliest = earliest ? std::min(*earliest, end) : end;
  }
  return earliest;
}

int FileSource::seek(long long offset) {
  if (kind_ == Kind::stream) {
    return SOURCE_NOT_SEEKABLE;
  }
  if (offset < 0) {
    return SOURCE_BAD_OFFSET;
  }
  position_ = offset;
  atEnd_ = false;
  return 0;
}

int FileSource::tell(long long& offset) {
  offset = position_;
  return 0;
}

int FileSource::size(long long& bytes) {
  if (kind_ == Kind::stream) {
    return SOURCE_SIZE_UNKNOWN;
  }
  const std::chrono::milliseconds now = coarseTime();
  if (!sizeKnown_ || now - sizeTold_ > sizeHolds) {
    struct stat status = {};
    if (::fstat(file_.get(), &status) != 0) {
      return errno == ESTALE ? SOURCE_CHANGED : SOURCE_READ_FAILED;
    }
    size_ = status.st_size;
    sizeTold_ = now;
    sizeKnown_ = true;
  }
  bytes = size_;
  return 0;
}

int FileSource::getSeekable(bool& seekable) {
  seekable = kind_ == Kind::regular;
  return 0;
}

UrlCost FileSource::cost() const { return cost_; }

}  // namespace md::host
