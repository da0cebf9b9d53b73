// logging ITEM: analyses ITEM and shows every line that the library logs about it, with its level.

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "obq/debug.h"
#include "quorin/analyzer.h"

namespace quorin = zu::md::common::quorin;
namespace strell = zu::md::common::strell;

namespace {

constexpr uint32_t analysisModule = 0x68;
constexpr uint32_t error = 3000;
constexpr uint32_t verbose = 5000;

/// Takes one line, which carries its own line end. May be called by any thread, but by one at a time.
void writeLine(uint32_t module, uint32_t level, std::string_view text) {
  if (module == analysisModule) {
    std::cerr << (level <= error ? "! " : "  ") << level << ' ' << text;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: logging ITEM\n";
    return EXIT_FAILURE;
  }
  obq::setDebugSink(writeLine);
  obq::setDebugLevel(analysisModule, verbose);

  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  params.uri = argv[1];
  boost::shared_ptr<quorin::AnalyzeResult> result;
  const int status = analyzer.analyze(params, result);

  obq::setDebugLevel(analysisModule, 0);     // silent again
  obq::setDebugSink(obq::DebugSink());       // what others log goes to standard error again
  std::cout << "status " << status << '\n';  // not logged
  return status == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
