#include "support/range_answers.h"

#include <algorithm>

#include "support/raw_server.h"

namespace quorin_test {

std::pair<size_t, size_t> rangeOf(const std::string& request) {
  const std::string range = headerOf(request, "Range");
  const size_t dash = range.find('-');
  return {std::stoul(range.substr(6, dash - 6)), std::stoul(range.substr(dash + 1))};
}

std::string partHeader(size_t first, size_t last, size_t total, const std::string& moreLines) {
  return "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " + std::to_string(first) + '-' + std::to_string(last) +
         '/' + std::to_string(total) + "\r\nContent-Length: " + std::to_string(last - first + 1) + "\r\n" + moreLines +
         "\r\n";
}

std::string part(const std::string& request, const std::string& item, const std::string& moreLines) {
  const auto [first, asked] = rangeOf(request);
  const size_t last = std::min(asked, item.size() - 1);
  return partHeader(first, last, item.size(), moreLines) + item.substr(first, last - first + 1);
}

}  // namespace quorin_test
