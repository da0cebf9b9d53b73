#include "stream.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

#include "items.h"

namespace memory_platform {

namespace {

namespace strell = zu::md::common::strell;

constexpr unsigned int unitOfTitles = 16;
constexpr unsigned int mostMemoryOfTitles = 256 * 1024;

int failureOf(int status) { return status > 0 ? static_cast<int>(strell::SOURCE_BROKEN) : status; }

unsigned int costOf(const strell::IcyData& title) {
  return static_cast<unsigned int>(sizeof title + title.text.size());
}

/// The N of "icy-metaint: N"; 0 for any other line.
unsigned int distanceIn(const std::string& line) {
  const std::string name = "icy-metaint";
  const std::string blanks = " \t";
  size_t next = line.find_first_not_of(blanks, std::min(name.size(), line.size()));
  if (lowered(line.substr(0, name.size())) != name || next == std::string::npos || line[next] != ':') {
    return 0;
  }
  next = std::min(line.find_first_not_of(blanks, next + 1), line.size());
  const size_t end = std::min(line.find_first_not_of("0123456789", next), line.size());
  unsigned long long number = 0;
  for (; next < end && number <= INT_MAX; ++next) {
    number = number * 10 + static_cast<unsigned int>(line[next] - '0');
  }
  const bool endsThere = line.find_first_not_of(" \t\r\n", end) == std::string::npos;
  return endsThere && number <= INT_MAX ? static_cast<unsigned int>(number) : 0;
}

}  // namespace

Stream::Stream(boost::shared_ptr<MdchUrlBase> source) : source_(std::move(source)) {
  bool seekable = false;
  canSeek_ = source_->getSeekable(seekable) == 0 && seekable;
  long long place = 0;
  if (canSeek_ && source_->tell(place) == 0) {
    isPlaceKnown_ = place >= 0;
    place_ = isPlaceKnown_ ? static_cast<unsigned long long>(place) : 0;
  }
  std::deque<std::string> lines;
  if (getHeaderList(lines) == 0) {
    for (const std::string& line : lines) {
      const unsigned int found = distanceIn(line);
      distance_ = found != 0 ? found : distance_;
    }
  }
  untilTitle_ = distance_;
}

int Stream::read(unsigned long long offset, unsigned char* buffer, unsigned int length, unsigned int& got) {
  if (!hasTitles()) {
    return readRaw(offset, buffer, length, got);
  }
  for (;;) {
    unsigned int all = 0;
    const int status = readRaw(raw_, buffer, length, all);
    raw_ += all;
    got = sift(buffer, all);
    if (status != 0 || all == 0 || got != 0) {
      return status;
    }
  }
}

int Stream::readRaw(unsigned long long offset, unsigned char* buffer, unsigned int length, unsigned int& got) {
  got = 0;
  if (!isPlaceKnown_ || place_ != offset) {
    if (const int status = seek(offset); status != 0) {
      return status;
    }
  }
  const unsigned long long left = LLONG_MAX - offset;
  const unsigned int asked = left < length ? static_cast<unsigned int>(left) : length;
  unsigned int delivered = 0;
  const int status = source_->read(buffer, asked, delivered);
  if (delivered > asked) {
    isPlaceKnown_ = false;
    return strell::SOURCE_BROKEN;
  }
  place_ += delivered;
  got = delivered;
  return failureOf(status);
}

int Stream::seek(unsigned long long offset) {
  const int status = failureOf(source_->seek(static_cast<long long>(offset)));
  if (status == 0) {
    place_ = offset;
    isPlaceKnown_ = true;
  }
  return status;
}

int Stream::size(long long& bytes) const {
  long long told = 0;
  const int status = failureOf(source_->size(told));
  if (status == 0 && told < 0) {
    return strell::SOURCE_BROKEN;
  }
  bytes = status == 0 ? told : bytes;
  return status;
}

int Stream::getSeekable(bool& seekable) const {
  bool told = false;
  const int status = failureOf(source_->getSeekable(told));
  seekable = status == 0 ? told : seekable;
  return status;
}

int Stream::getHeaderList(std::deque<std::string>& lines) const {
  auto* const http = dynamic_cast<md::HttpAccess*>(source_.get());
  if (http == nullptr) {
    return strell::NO_HEADER;
  }
  std::deque<std::string> told;
  const int status = failureOf(http->getHeaderList(told));
  if (status == 0) {
    lines = told;
  }
  return status;
}

/// Moves the audio among these bytes to their front. @return how much it is
unsigned int Stream::sift(unsigned char* bytes, unsigned int count) {
  unsigned int kept = 0;
  for (unsigned int next = 0; next < count;) {
    const unsigned int run = std::min(count - next, leftOfTitle_ != 0 ? leftOfTitle_ : untilTitle_);
    if (run == 0) {  // the length of a title
      leftOfTitle_ = bytes[next++] * unitOfTitles;
      untilTitle_ = distance_;
    } else if (leftOfTitle_ != 0) {
      title_.append(bytes + next, bytes + next + run);
      leftOfTitle_ -= run;
      next += run;
      if (leftOfTitle_ == 0) {
        finishTitle();
      }
    } else {
      std::memmove(bytes + kept, bytes + next, run);
      untilTitle_ -= run;
      audio_ += run;
      kept += run;
      next += run;
    }
  }
  return kept;
}

void Stream::finishTitle() {
  strell::IcyData title = {audio_, title_.substr(0, title_.find('\0'))};
  title_.clear();
  if (!title.text.empty() && memoryOfTitles_ + costOf(title) <= mostMemoryOfTitles) {
    memoryOfTitles_ += costOf(title);
    titles_.push_back(std::move(title));
  }
}

void Stream::takeTitles(long long offset, std::vector<strell::IcyData>& titles) {
  const auto stays = std::find_if(titles_.begin(), titles_.end(),
                                  [offset](const strell::IcyData& title) { return title.offset > offset; });
  for (auto gone = titles_.begin(); gone != stays; ++gone) {
    memoryOfTitles_ -= costOf(*gone);
    titles.push_back(std::move(*gone));
  }
  titles_.erase(titles_.begin(), stays);
}

}  // namespace memory_platform
