// The same bytes as a file, from memory, from a server that serves ranges and from one that does not: every source that
// can be sought in leads to the same, and a server without ranges to what any source that cannot be sought in leads to.

#include <sstream>

#include "fuzzed_item.h"
#include "fuzzed_server.h"
#include "quorin/quorin_url_rework.h"
#include "require.h"
#include "support/bytes.h"
#include "support/temporary_folder.h"

using namespace quorin_test;
using zu::md::common::quorin::Analyzer;

namespace {

/// The lines of a log without those about a response header, which memory and files have none of.
std::string withoutHeader(const std::string& log) {
  std::string kept;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    if (line != "." && line.find("() Header=") == std::string::npos &&
        line.find("() contentType=") == std::string::npos) {
      kept += line + '\n';
    }
  }
  return kept;
}

/// What an analysis comes to, apart from the way on which the item was opened.
struct Outcome {
  std::string answer;
  std::string log;
};

Outcome analyze(const std::string& uri) {
  static Analyzer analyzer(Analyzer::MODE_AUDIO);
  const Analysis analysis(analyzer, uri);
  long long position = -1;
  require(analysis.result && analysis.result->strell, "the item opens");
  analysis.result->strell->tell(position);
  // Everything before the first of these lines is about the URI and the response header.
  const size_t begin = analysis.log.find("4000 Analyzer::Impl::checkContentRedirect()");
  std::string log = withoutHeader(analysis.log.substr(begin));
  if (const size_t named = log.find(uri); named != std::string::npos) {
    log.replace(named, uri.size(), "URI");  // "unknown type"
  }
  return {std::to_string(analysis.status) + ", played from " + std::to_string(position) + '\n' + analysis.answer, log};
}

void requireSame(const Outcome& one, const Outcome& other, const std::string& what) {
  quorin_test::requireSame(one.answer, other.answer, what + ": the same answer");
  quorin_test::requireSame(one.log, other.log, what + ": the same log");
}

Outcome inMemory(const Bytes& bytes, bool seekable) {
  SourceScript script;
  script.bytes = bytes;
  script.seekable = seekable;
  const ScriptedScheme scheme("fuzz", script);
  return analyze("fuzz:item");
}

Outcome asFile(const Bytes& bytes) {
  static const TemporaryFolder folder;
  return analyze(folder.write("item", bytes));
}

/// First and last byte of the range asked for, cut to `size` bytes.
bool askedRange(const std::string& request, size_t size, size_t& first, size_t& last) {
  constexpr char begin[] = "Range: bytes=";
  const size_t found = request.find(begin);
  if (found == std::string::npos || size == 0) {
    return false;
  }
  const std::string range = request.substr(found + sizeof begin - 1);
  first = std::stoul(range);
  last = std::min<size_t>(std::stoul(range.substr(range.find('-') + 1)), size - 1);
  return first < size;
}

std::string response(const Bytes& bytes, const std::string& request, bool withRanges) {
  size_t first = 0;
  size_t last = 0;
  const std::string type = "Content-Type: application/octet-stream\r\nContent-Length: ";
  if (withRanges && askedRange(request, bytes.size(), first, last)) {
    return "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " + std::to_string(first) + '-' +
           std::to_string(last) + '/' + std::to_string(bytes.size()) + "\r\n" + type +
           std::to_string(last + 1 - first) + "\r\n\r\n" +
           textOf(slice(bytes, static_cast<long long>(first), last + 1 - first));
  }
  return "HTTP/1.1 200 OK\r\n" + type + std::to_string(bytes.size()) + "\r\n\r\n" + textOf(bytes);
}

Outcome served(const Bytes& bytes, bool withRanges) {
  static FuzzedServer server(std::chrono::seconds(5));
  server.answerBy([&bytes, withRanges](const std::string& request) {
    return FuzzedServer::Answer{response(bytes, request, withRanges), false};
  });
  const Outcome outcome = analyze(server.url());
  server.answerBy([](const std::string&) { return FuzzedServer::Answer(); });  // the bytes end here
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  zu::md::common::quorin::QuorinUrlRework::getInstance();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Bytes bytes = FuzzedItem(FuzzInput(data, size)).script.bytes;
  if (bytes.empty()) {
    return 0;  // a server has no range of nothing to serve
  }
  const Outcome seekable = inMemory(bytes, true);
  requireSame(asFile(bytes), seekable, "a file and memory");
  requireSame(served(bytes, true), seekable, "a server of ranges and memory");
  requireSame(served(bytes, false), inMemory(bytes, false), "a server without ranges and memory that cannot seek");
  return 0;
}
