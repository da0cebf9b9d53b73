#include "strell/checked_source.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "strell/strell.h"

namespace zu::md::common::strell {

namespace {

/// No offset equals it: a source whose position is lost is made to seek before the next read.
constexpr long long positionLost = -1;

int checkedStatus(int status) { return status > 0 ? SOURCE_BROKEN : status; }

bool saysItCanSeek(MdchUrlBase& url) {
  bool seekable = false;
  return url.getSeekable(seekable) == 0 && seekable;
}

/// A source that was read before is made to go back; one that cannot is taken to begin where it stands.
long long positionOf(MdchUrlBase& url, bool seekable) {
  long long position = 0;
  return seekable && url.tell(position) == 0 ? position : 0;
}

}  // namespace

CheckedSource::CheckedSource(boost::shared_ptr<MdchUrlBase> url)
    : url_(std::move(url)),
      http_(dynamic_cast<::md::HttpAccess*>(url_.get())),
      seekable_(saysItCanSeek(*url_)),
      position_(positionOf(*url_, seekable_)) {}

int CheckedSource::readAt(long long offset, unsigned char* buffer, unsigned int length, unsigned int& bytesRead) {
  bytesRead = 0;
  const long long room = std::numeric_limits<long long>::max() - offset;
  const auto ask = static_cast<unsigned int>(std::min<long long>(length, room));
  if (position_ != offset) {
    const int status = seek(offset);
    if (status != 0) {
      return status;
    }
  }
  unsigned int got = 0;
  const int status = url_->read(buffer, ask, got);
  if (got > ask) {
    position_ = positionLost;
    return SOURCE_BROKEN;
  }
  position_ += got;
  bytesRead = got;
  return checkedStatus(status);
}

int CheckedSource::seek(long long offset) {
  const int status = checkedStatus(url_->seek(offset));
  if (status == 0) {
    position_ = offset;
  }
  return status;
}

int CheckedSource::size(long long& bytes) const {
  long long told = 0;
  const int status = checkedStatus(url_->size(told));
  if (status != 0) {
    return status;
  }
  if (told < 0) {
    return SOURCE_BROKEN;
  }
  bytes = told;
  return 0;
}

int CheckedSource::getSeekable(bool& seekable) const {
  bool told = false;
  const int status = checkedStatus(url_->getSeekable(told));
  if (status == 0) {
    seekable = told;
  }
  return status;
}

int CheckedSource::getHeaderList(std::deque<std::string>& lines) const {
  if (!hasHeader()) {
    return NO_HEADER;
  }
  std::deque<std::string> told;
  const int status = checkedStatus(http_->getHeaderList(told));
  if (status == 0) {
    lines.swap(told);
  }
  return status;
}

}  // namespace zu::md::common::strell
