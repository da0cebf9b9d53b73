// Whatever a server sends, from the first byte on: opening answers one of its codes, an item that opened is analysed
// and read, and everything ends. What stands between two form feeds answers one request.

#include <array>
#include <vector>

#include "driver/analysis.h"
#include "fuzz_input.h"
#include "fuzzed_server.h"
#include "quorin/quorin_url_rework.h"
#include "require.h"
#include "support/bytes.h"

using namespace quorin_test;
using namespace zu::md::common;

namespace {

constexpr char separator = '\f';

/// The answers, one after the other; the last one is for every request that follows.
class Answers {
 public:
  /// @param kept a bit for each answer behind which the connection stays open
  Answers(const std::string& text, uint64_t kept) : kept_(kept) {
    size_t begin = 0;
    for (size_t end = text.find(separator); end != std::string::npos; end = text.find(separator, begin)) {
      answers_.push_back(text.substr(begin, end - begin));
      begin = end + 1;
    }
    answers_.push_back(text.substr(begin));
  }

  FuzzedServer::Answer next() {
    const size_t index = std::min(asked_++, answers_.size() - 1);
    return {answers_[index], (kept_ >> (index % 16) & 1) == 0 || asked_ > mostRequests};
  }

 private:
  static constexpr size_t mostRequests = 100;
  std::vector<std::string> answers_;
  uint64_t kept_;
  size_t asked_ = 0;
};

void readOn(strell::Strell& strell) {
  std::array<unsigned char, 20000> buffer;
  std::vector<strell::IcyData> icy;
  unsigned bytesRead = 0;
  const int status = strell.readData(buffer.data(), buffer.size(), bytesRead, icy);
  require(status <= 0 && bytesRead <= buffer.size(), "a read delivers what fits, or fails by a negative code");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  quorin::QuorinUrlRework::getInstance();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static FuzzedServer server(std::chrono::milliseconds(3));
  static quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  FuzzInput input(data, size);
  const uint64_t kept = input.number(2);
  const auto jump = static_cast<long long>(input.number(3));
  Answers answers(textOf(input.bytes()), kept);
  server.answerBy([&answers](const std::string&) { return answers.next(); });

  strell::OpenParams params;
  params.uri = server.url();
  params.options[4] = "connect=5;stall=5;total=10";
  boost::shared_ptr<quorin::AnalyzeResult> result;
  const int status = analyzer.analyze(params, result);
  require(result && (status < 0 || result->info), "an item is recognised with an answer, or a code tells why not");
  if (result->strell) {
    readOn(*result->strell);
    if (result->strell->seek(jump) == 0) {
      readOn(*result->strell);
    }
  }
  result.reset();
  server.answerBy([](const std::string&) { return FuzzedServer::Answer(); });  // the answers end here
  return 0;
}
