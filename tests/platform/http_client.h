#pragma once

#include <boost/shared_ptr.hpp>
#include <deque>
#include <string>

#include "md/url.h"
#include "support/bytes.h"
#include "support/scripted_source.h"

/// @file
/// Opening and reading URLs in as few words as the tests deserve.

namespace quorin_test {

/// The option texts by name.
struct HttpTexts {
  std::string userAgent;
  std::string caBundle;
  std::string proxy;
  std::string headerLines;
  std::string limits = "connect=20;stall=20";  // a slow machine is no failure
};

struct HttpOpened {
  int code;
  boost::shared_ptr<MdchUrlBase> url;
};

HttpOpened openUrl(const std::string& uri, const HttpTexts& texts = HttpTexts());

/// The source, where nothing but code 0 will do.
boost::shared_ptr<MdchUrlBase> openedUrl(const std::string& uri, const HttpTexts& texts = HttpTexts());

struct HttpRead {
  Bytes bytes;
  int status;  ///< of the last read
};

/// Reads on until `length` bytes are there, the stream ends or a read fails.
HttpRead readOn(MdchUrlBase& source, size_t length = static_cast<size_t>(-1), unsigned int perRead = 4096);

/// The same from another position.
HttpRead readAt(MdchUrlBase& source, long long offset, size_t length);

std::deque<std::string> headerLines(MdchUrlBase& source);

/// -1 when the source does not know it.
long long sizeOf(MdchUrlBase& source);

bool isSeekable(MdchUrlBase& source);

}  // namespace quorin_test
