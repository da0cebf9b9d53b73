// limits URI [CA_BUNDLE [PROXY]]: analyses an item of the network, within limits of time, with a request header of its
// own, trusting the certificates of CA_BUNDLE instead of the system's.

#include <cstdlib>
#include <iostream>

#include "quorin/analyzer.h"

namespace quorin = zu::md::common::quorin;
namespace strell = zu::md::common::strell;

namespace {

/// What the texts of OpenParams::options mean to the host platform.
enum Option { USER_AGENT, CA_BUNDLE, PROXY, HEADER_LINES, TIME_LIMITS };

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 4) {
    std::cerr << "usage: limits URI [CA_BUNDLE [PROXY]]\n";
    return EXIT_FAILURE;
  }
  strell::OpenParams params;
  params.uri = argv[1];
  params.options[USER_AGENT] = "my-player/1.0";
  params.options[CA_BUNDLE] = argc > 2 ? argv[2] : "";  // empty: not given
  params.options[PROXY] = argc > 3 ? argv[3] : "";
  params.options[HEADER_LINES] = "Accept-Language: en\nX-Room: kitchen";
  params.options[TIME_LIMITS] = "connect=2;stall=1.5;total=4";  // seconds

  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  boost::shared_ptr<quorin::AnalyzeResult> result;
  const int status = analyzer.analyze(params, result);
  if (!result || !result->info) {
    std::cerr << params.uri << ": cannot be opened (" << status << ")\n";
    return EXIT_FAILURE;
  }
  std::cout << params.uri << ": " << result->info->mimeType << '\n';
  if (result->strell) {
    const UrlCost cost = result->strell->cost();
    std::cout << "  took " << cost.bytes << " bytes in " << cost.requests << " requests\n";
  }
  return EXIT_SUCCESS;
}
