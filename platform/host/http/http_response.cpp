#include "http/http_response.h"

#include <strings.h>

#include <algorithm>
#include <charconv>

namespace md::host {

namespace {

/// Status 1xx: the final response is still to come (RFC 9110, section 15.2).
bool isInterim(std::string_view statusLine) {
  const size_t blank = statusLine.find(' ');
  return blank != std::string_view::npos && statusLine.substr(blank + 1, 1) == "1";
}

/// Takes a decimal number off the front of `text`.
bool takeNumber(std::string_view& text, long long& number) {
  if (text.empty() || text.front() < '0' || text.front() > '9') {
    return false;  // from_chars would take a sign
  }
  const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<size_t>(result.ptr - text.data()));
  return result.ec == std::errc();
}

bool takeMark(std::string_view& text, char mark) {
  if (text.empty() || text.front() != mark) {
    return false;
  }
  text.remove_prefix(1);
  return true;
}

bool equalIgnoringCase(std::string_view text, std::string_view other) {
  return text.size() == other.size() && strncasecmp(text.data(), other.data(), other.size()) == 0;
}

/// Whether the body travels in a form that no request asks for (RFC 9112, section 6.1).
bool tellsUnwantedCoding(std::string_view line) {
  constexpr std::string_view blanks = " \t\r\n";
  const size_t colon = line.find(':');
  if (colon == std::string_view::npos || !equalIgnoringCase(line.substr(0, colon), "Transfer-Encoding")) {
    return false;
  }
  std::string_view coding = line.substr(colon + 1);
  coding.remove_prefix(std::min(coding.find_first_not_of(blanks), coding.size()));
  coding = coding.substr(0, coding.find_last_not_of(blanks) + 1);
  return !equalIgnoringCase(coding, "chunked") && !equalIgnoringCase(coding, "identity");
}

bool share(const std::string& one, const std::string& other) { return !one.empty() && one == other; }

bool contradict(const std::string& one, const std::string& other) {
  return !one.empty() && !other.empty() && one != other;
}

/// Whether the validators speak for the same version. One that only one of the responses carries tells nothing, but a
/// version that had some is not told by none.
bool validatorsAgree(const HttpResponse& first, const HttpResponse& later) {
  if (contradict(first.etag, later.etag) || contradict(first.lastModified, later.lastModified)) {
    return false;
  }
  const bool hadNone = first.etag.empty() && first.lastModified.empty();
  return hadNone || share(first.etag, later.etag) || share(first.lastModified, later.lastModified);
}

}  // namespace

bool HeaderBlock::add(std::string_view line) {
  bytes_ += line.size();
  if (line.size() > longestHeaderLine || bytes_ > largestHeader) {
    return false;
  }
  if (complete_) {
    return true;
  }
  if (tellsUnwantedCoding(line)) {
    return false;
  }
  lines_.emplace_back(line);
  const bool ends = line == "\r\n" || line == "\n";
  if (ends && isInterim(lines_.front())) {
    lines_.clear();
  } else {
    complete_ = ends;
  }
  return true;
}

std::optional<ContentRange> parseContentRange(std::string_view value) {
  constexpr std::string_view unit = "bytes ";
  if (value.size() < unit.size() || strncasecmp(value.data(), unit.data(), unit.size()) != 0) {
    return std::nullopt;
  }
  value.remove_prefix(unit.size());
  ContentRange range = {0, 0, -1};
  if (!takeNumber(value, range.first) || !takeMark(value, '-') || !takeNumber(value, range.last) ||
      !takeMark(value, '/')) {
    return std::nullopt;
  }
  const bool totalKnown = value != "*";
  if (totalKnown && (!takeNumber(value, range.total) || !value.empty())) {
    return std::nullopt;
  }
  if (range.first > range.last || (totalKnown && range.last >= range.total)) {
    return std::nullopt;
  }
  return range;
}

bool opensSeekable(const HttpResponse& response) {
  return response.status == 206 && response.contentRange && response.contentRange->first == 0 &&
         response.contentRange->total >= 0 && !response.icyMetadata;
}

bool refusesRange(const HttpResponse& response) {
  switch (response.status) {
    case 206:  // a part of something whose other parts cannot be asked for
      return !opensSeekable(response);
    case 400:
    case 406:  // media servers, for what they transcode
    case 416:  // an empty item has no first byte
    case 501:
      return true;
    default:
      return false;
  }
}

bool isSameItem(const HttpResponse& first, const HttpResponse& later) {
  return first.contentRange && later.contentRange && first.contentRange->total == later.contentRange->total &&
         validatorsAgree(first, later);
}

}  // namespace md::host
