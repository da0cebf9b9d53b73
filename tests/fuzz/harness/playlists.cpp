// The playlist parsers: what they find stands in the text as it is, and when they find nothing they touch nothing.

#include <string>

#include "redirect/playlist_parsers.h"
#include "require.h"

using namespace quorin_test;
using namespace zu::md::common::quorin;

namespace {

const std::string untouched("\x01untouched");

/// A parser without anything beside the target.
void check(bool (*parse)(std::string const&, std::string&), const std::string& content) {
  std::string url = untouched;
  if (parse(content, url)) {
    require(std::string(content.c_str()).find(url) != std::string::npos, "a target stands in its list");
  } else {
    require(url == untouched, "without a target the argument stays as it is");
  }
}

void checkASX(const std::string& content) {
  for (const bool before : {false, true}) {
    std::string url = untouched;
    bool direct = before;
    if (parseASX(content, url, direct)) {
      require(std::string(content.c_str()).find(url) != std::string::npos, "a target stands in its document");
    } else {
      require(url == untouched && direct == before, "without a target the arguments stay as they are");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string content(data, data + size);
  for (const auto parse : {parseM3U, parseXML, parseSIMPLE}) {
    check(parse, content);
  }
  checkASX(content);
  return 0;
}
