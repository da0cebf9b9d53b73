#include "http_client.h"

#include <algorithm>
#include <stdexcept>

namespace quorin_test {

HttpOpened openUrl(const std::string& uri, const HttpTexts& texts) {
  MdchOpenParams params = {};
  params.text0 = texts.userAgent.c_str();
  params.text1 = texts.caBundle.c_str();
  params.text2 = texts.proxy.c_str();
  params.text3 = texts.headerLines.c_str();
  params.text4 = texts.limits.c_str();
  HttpOpened opened = {0, nullptr};
  opened.code = mdch_OpenUrl(uri.c_str(), 0, params, opened.url);
  return opened;
}

boost::shared_ptr<MdchUrlBase> openedUrl(const std::string& uri, const HttpTexts& texts) {
  const HttpOpened opened = openUrl(uri, texts);
  if (opened.code != 0) {
    throw std::runtime_error("opening " + uri + " gave code " + std::to_string(opened.code));
  }
  return opened.url;
}

HttpRead readOn(MdchUrlBase& source, size_t length, unsigned int perRead) {
  HttpRead result = {Bytes(), 0};
  Bytes buffer(perRead);
  while (result.bytes.size() < length && result.status == 0) {
    unsigned int got = 0;
    const auto ask = static_cast<unsigned int>(std::min<size_t>(perRead, length - result.bytes.size()));
    result.status = source.read(buffer.data(), ask, got);
    result.bytes.insert(result.bytes.end(), buffer.begin(), buffer.begin() + got);
    if (got == 0) {
      break;
    }
  }
  return result;
}

HttpRead readAt(MdchUrlBase& source, long long offset, size_t length) {
  const int status = source.seek(offset);
  return status == 0 ? readOn(source, length) : HttpRead{Bytes(), status};
}

std::deque<std::string> headerLines(MdchUrlBase& source) {
  std::deque<std::string> lines;
  dynamic_cast<md::HttpAccess&>(source).getHeaderList(lines);
  return lines;
}

long long sizeOf(MdchUrlBase& source) {
  long long size = -1;
  source.size(size);
  return size;
}

bool isSeekable(MdchUrlBase& source) {
  bool seekable = false;
  source.getSeekable(seekable);
  return seekable;
}

}  // namespace quorin_test
