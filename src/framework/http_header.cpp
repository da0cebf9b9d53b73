#include "framework/http_header.h"

#include <boost/pointer_cast.hpp>

#include "framework/ascii_case.h"
#include "framework/log.h"
#include "framework/status.h"

namespace zu::md::common::quorin {

namespace {

const std::string contentTypeKey("content-type");
const std::string locationKey("location");

void removeLast(char c, std::string& s) {
  if (!s.empty() && s.back() == c) {
    s.pop_back();
  }
}

}  // namespace

std::optional<std::string> headerValue(const std::string& line, std::string_view key) {
  const auto found = findIgnoringCase(line, key);
  if (found == std::string::npos) {
    return std::nullopt;
  }
  const auto begin = line.find_first_not_of(" \t:", found + key.size());
  return begin == std::string::npos ? std::string() : line.substr(begin);
}

void stripTrailingCRLF(std::string& s) {
  removeLast('\n', s);
  removeLast('\r', s);
}

void parseHeader(std::deque<std::string> const& lines, HeaderInfo& info) {
  for (const std::string& line : lines) {
    QUORIN_LOG(Debug, "Analyzer::Impl::%s() Header=%s.\n", __func__, line.c_str());
    if (const auto value = headerValue(line, contentTypeKey)) {
      info.contentType = *value;
      stripTrailingCRLF(info.contentType);
      QUORIN_LOG(Debug, "Analyzer::Impl::%s() contentType=%s.\n", __func__, value->c_str());
    }
    if (const auto value = headerValue(line, locationKey)) {
      info.location = *value;
      stripTrailingCRLF(info.location);
      QUORIN_LOG(Debug, "Analyzer::Impl::%s() location=%s.\n", __func__, value->c_str());
    }
  }
}

int parseHeader(boost::shared_ptr<MdchUrlBase> const& url, HeaderInfo& info) {
  const auto http = boost::dynamic_pointer_cast<::md::HttpAccess>(url);
  if (!http) {
    return STATUS_OK;
  }
  std::deque<std::string> lines;
  if (const int status = http->getHeaderList(lines); status != STATUS_OK) {
    return status;
  }
  parseHeader(lines, info);
  return STATUS_OK;
}

}  // namespace zu::md::common::quorin
