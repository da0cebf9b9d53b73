#include "strell/strell.h"

#include <climits>
#include <cstring>
#include <utility>

#include "stream.h"
#include "window.h"

namespace zu::md::common::strell {

namespace {

using memory_platform::Stream;
using memory_platform::Window;

constexpr unsigned int headWhereSeeking = 65536;
constexpr unsigned int headOtherwise = 1048576;
constexpr unsigned int regionBehindSeek = 65536;

/// Fills a window until it covers these bytes.
bool fill(Window& window, Stream& stream, unsigned long long offset, unsigned int length) {
  unsigned int free = 0;
  while (unsigned char* const to = window.room(offset, length, free)) {
    unsigned int got = 0;
    const int status = stream.read(window.end(), to, free, got);
    window.added(got);
    if (status != 0) {
      break;
    }
    if (got == 0) {
      window.close();
    }
  }
  return window.covers(offset, length);
}

}  // namespace

/// The state of an attached source; the operations are those of Strell.
class Strell::Impl {
 public:
  explicit Impl(boost::shared_ptr<MdchUrlBase> source)
      : stream(std::move(source)), head(0, stream.canSeek() ? headWhereSeeking : headOtherwise), ahead(0, 0) {}

  /// Where `length` bytes at the cache offset are, null when they cannot be had.
  unsigned char* look(unsigned int length) {
    if (!head.covers(cacheOffset, length)) {
      if (fill(ahead, stream, cacheOffset, length)) {
        return ahead.at(cacheOffset);
      }
      if (!fill(head, stream, cacheOffset, length)) {
        return nullptr;
      }
    }
    return head.at(cacheOffset);
  }

  /// Plays what memory has, or what one read of the source brings.
  int play(unsigned char* buffer, unsigned int length, unsigned int& got) {
    Window& nearer = head.countFrom(readOffset) >= ahead.countFrom(readOffset) ? head : ahead;
    const unsigned int held = nearer.countFrom(readOffset);
    int status = 0;
    if (held != 0) {
      got = held < length ? held : length;
      std::memcpy(buffer, nearer.at(readOffset), got);
    } else {
      status = stream.read(readOffset, buffer, length, got);
      if (readOffset == head.end()) {
        head.append(buffer, got);
      }
    }
    readOffset += got;
    return status;
  }

  void seekTo(unsigned long long offset) {
    readOffset = offset;
    const unsigned long long room = offset < UINT_MAX ? UINT_MAX - offset : 0;
    ahead.moveTo(offset, room < regionBehindSeek ? static_cast<unsigned int>(room) : regionBehindSeek);
    if (offset <= UINT_MAX) {
      cacheOffset = static_cast<unsigned int>(offset);
      isOffsetGood = true;
    }
  }

  Stream stream;
  Window head;
  Window ahead;
  unsigned int cacheOffset = 0;
  bool isOffsetGood = true;
  unsigned long long readOffset = 0;
};

Strell::Strell() = default;

Strell::~Strell() = default;

int Strell::attach(boost::shared_ptr<MdchUrlBase> url) {
  if (!url) {
    return NO_SOURCE;
  }
  impl_.reset();
  impl_.reset(new Impl(std::move(url)));
  return 0;
}

int Strell::readDataCache(unsigned int length, unsigned char*& data) {
  data = nullptr;
  if (!impl_) {
    return NOT_ATTACHED;
  }
  if (!impl_->isOffsetGood) {
    return OFFSET_NOT_CACHED;
  }
  data = impl_->look(length);
  if (data == nullptr) {
    return NOT_CACHED;
  }
  impl_->cacheOffset += length;
  return 0;
}

unsigned int Strell::getDataCacheOffset() { return impl_ ? impl_->cacheOffset : 0; }

int Strell::setDataCacheOffset(unsigned int offset) {
  if (!impl_) {
    return NOT_ATTACHED;
  }
  impl_->cacheOffset = offset;
  impl_->isOffsetGood = impl_->look(0) != nullptr;
  return impl_->isOffsetGood ? 0 : OFFSET_NOT_CACHED;
}

int Strell::readData(unsigned char* buffer, unsigned int length, unsigned int& bytesRead, std::vector<IcyData>& icy) {
  bytesRead = 0;
  if (!impl_ || length == 0) {
    return impl_ ? 0 : NOT_ATTACHED;
  }
  int status = 0;
  while (bytesRead < length && status == 0) {
    unsigned int got = 0;
    status = impl_->play(buffer + bytesRead, length - bytesRead, got);
    bytesRead += got;
    if (got == 0) {
      break;
    }
  }
  const auto played = static_cast<long long>(impl_->readOffset);
  impl_->stream.takeTitles(bytesRead == length ? played - 1 : played, icy);
  return bytesRead == 0 && status == 0 ? END_OF_STREAM : status;
}

int Strell::tell(long long& offset) {
  if (!impl_) {
    return NOT_ATTACHED;
  }
  offset = static_cast<long long>(impl_->readOffset);
  return 0;
}

int Strell::seek(long long offset) {
  if (!impl_) {
    return NOT_ATTACHED;
  }
  long long bytes = 0;
  if (!impl_->stream.canSeek() || impl_->stream.hasTitles() || impl_->stream.size(bytes) != 0) {
    return NOT_SEEKABLE;
  }
  if (offset < 0 || offset > bytes) {
    return OUT_OF_RANGE;
  }
  const int status = impl_->stream.seek(static_cast<unsigned long long>(offset));
  if (status == 0) {
    impl_->seekTo(static_cast<unsigned long long>(offset));
  }
  return status;
}

int Strell::size(long long& bytes) { return impl_ ? impl_->stream.size(bytes) : NOT_ATTACHED; }

int Strell::getSeekable(bool& seekable) { return impl_ ? impl_->stream.getSeekable(seekable) : NOT_ATTACHED; }

int Strell::getHeaderList(std::deque<std::string>& lines) {
  return impl_ ? impl_->stream.getHeaderList(lines) : NOT_ATTACHED;
}

UrlCost Strell::cost() const { return impl_ ? impl_->stream.cost() : UrlCost(); }

}  // namespace zu::md::common::strell
