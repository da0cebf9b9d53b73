// The lines of a response header: what is taken of them stands in them, and other lines change nothing.

#include "framework/http_header.h"

#include <algorithm>

#include "fuzz_input.h"
#include "require.h"

using namespace quorin_test;
using namespace zu::md::common::quorin;

namespace {

bool standsIn(const std::deque<std::string>& lines, const std::string& value) {
  return std::any_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return line.find(value) != std::string::npos; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::deque<std::string> lines = linesOf(std::string(data, data + size));
  lines.emplace_back();  // without even an end
  HeaderInfo once;
  parseHeader(lines, once);
  require(standsIn(lines, once.contentType), "the content type stands in a line");
  require(standsIn(lines, once.location), "the location stands in a line");
  HeaderInfo again = once;
  parseHeader(lines, again);
  requireSame(again.contentType + '\n' + again.location, once.contentType + '\n' + once.location,
              "the same header again changes nothing");
  for (const std::string& line : lines) {
    if (const auto value = headerValue(line, "icy-br")) {
      require(line.find(*value) != std::string::npos, "a value stands in its line");
    }
  }
  return 0;
}
