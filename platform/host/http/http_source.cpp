#include "http/http_source.h"

#include <algorithm>
#include <utility>

#include "url/openers.h"

namespace md::host {

namespace {

int codeOfFailure(CURLcode result) {
  switch (result) {
    case CURLE_OK:
      return 0;
    case CURLE_OPERATION_TIMEDOUT:
      return SOURCE_TIMED_OUT;
    case CURLE_PARTIAL_FILE:
      return SOURCE_TRUNCATED;
    default:
      return SOURCE_READ_FAILED;
  }
}

/// What the answer to a later request for a range means: 0 when the range of the same item comes.
int codeOfRange(const HttpResponse& first, const HttpResponse& response, long long position) {
  switch (response.status) {
    case 206:
      return isSameItem(first, response) && response.contentRange->first == position ? 0 : SOURCE_CHANGED;
    case 200:  // ranges are not served any more: the offsets known so far mean nothing now
    case 416:  // the item ends before this offset
      return SOURCE_CHANGED;
    default:
      return SOURCE_READ_FAILED;
  }
}

}  // namespace

HttpSource::HttpSource(std::unique_ptr<HttpTransfer> transfer)
    : transfer_(std::move(transfer)),
      first_(transfer_->response()),
      seekable_(opensSeekable(first_)),
      size_(seekable_ ? first_.contentRange->total : first_.length),
      rangeEnd_(seekable_ ? first_.contentRange->last + 1 : 0) {}

int HttpSource::read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) {
  bytesRead = 0;
  const bool atEnd = seekable_ && position_ >= size_;
  if (length == 0 || atEnd) {
    return 0;
  }
  if (!window_.holds(position_)) {
    if (failure_ == 0) {
      ++reads_;
      failure_ = fetch(length);
    }
    if (failure_ != 0) {
      return failure_;
    }
  }
  bytesRead = window_.copy(position_, buffer, length);
  position_ += bytesRead;
  return 0;
}

/// Gets the byte at the position into the window, except at the end of a stream.
/// @param wanted how many bytes the reader wants from there on
int HttpSource::fetch(unsigned int wanted) {
  while (!window_.holds(position_)) {
    const bool readOn = seekable_ ? isJustAhead() && window_.end() < rangeEnd_ : transfer_->underWay();
    if (!readOn && !seekable_) {
      return 0;
    }
    const int status = readOn ? receive() : requestRange(wanted);
    if (status != 0) {
      return status;
    }
  }
  return 0;
}

bool HttpSource::isJustAhead() const {
  const long long ahead = position_ - window_.end();
  return ahead >= 0 && ahead <= shortSkip;
}

int HttpSource::requestRange(unsigned int wanted) {
  rangeLength_ = isJustAhead() ? std::min(2 * rangeLength_, largestRange) : firstRange;
  const long long length = wanted > firstRange ? wanted : rangeLength_;
  const long long last = std::min(position_ + length, size_) - 1;
  const CURLcode result = transfer_->request(ByteRange{position_, last});
  if (result != CURLE_OK) {
    return codeOfFailure(result);
  }
  const int status = codeOfRange(first_, transfer_->response(), position_);
  if (status == 0) {
    rangeEnd_ = transfer_->response().contentRange->last + 1;
    window_.continueAt(position_);
  }
  return status;
}

int HttpSource::receive() {
  const CURLcode result = transfer_->receive(received_);
  const long long promised = rangeEnd_ - window_.end();
  if (seekable_ && static_cast<long long>(received_.size()) > promised) {
    received_.resize(static_cast<size_t>(promised));  // nobody knows what comes behind the Content-Range
  }
  window_.append(received_);
  if (result == CURLE_OK && received_.empty() && seekable_ && window_.end() < rangeEnd_) {
    return SOURCE_TRUNCATED;  // fewer bytes than Content-Range told, though the response is complete in itself
  }
  return codeOfFailure(result);
}

int HttpSource::seek(long long offset) {
  if (!seekable_) {
    return SOURCE_NOT_SEEKABLE;
  }
  if (offset < 0) {
    return SOURCE_BAD_OFFSET;
  }
  position_ = offset;
  return 0;
}

int HttpSource::tell(long long& offset) {
  offset = position_;
  return 0;
}

int HttpSource::size(long long& bytes) {
  if (size_ < 0) {
    return SOURCE_SIZE_UNKNOWN;
  }
  bytes = size_;
  return 0;
}

int HttpSource::getSeekable(bool& seekable) {
  seekable = seekable_;
  return 0;
}

UrlCost HttpSource::cost() const {
  UrlCost cost;
  cost.bytes = transfer_->bytesReceived();
  cost.reads = reads_;
  cost.requests = transfer_->requests();
  return cost;
}

int HttpSource::getHeaderList(std::deque<std::string>& lines) {
  lines = transfer_->response().headerLines;
  return 0;
}

}  // namespace md::host
