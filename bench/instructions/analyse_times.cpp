// analyse_times VARIANT FILE TIMES: analyses a file of a variant of the library so many times. What one analysis takes
// is the difference of two runs.

#include <cstdio>
#include <cstdlib>

#include "../side_by_side/read_list.h"
#include "quorin/analyzer.h"

int main(int count, char** arguments) {
  namespace quorin = zu::md::common::quorin;
  if (count != 4) {
    std::fprintf(stderr, "usage: analyse_times VARIANT FILE TIMES\n");
    return 2;
  }
  const int expected = quorin_bench::expectedStatus(arguments[1]);
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  zu::md::common::strell::OpenParams params;
  params.uri = arguments[2];
  for (int left = std::atoi(arguments[3]); left > 0; --left) {
    boost::shared_ptr<quorin::AnalyzeResult> result;
    const int status = analyzer.analyze(params, result);
    if (status != expected) {
      std::fprintf(stderr, "analyse_times: %s: ended with status %d, a file of the variant %s\n", arguments[2], status,
                   arguments[1]);
      return 1;
    }
  }
  return 0;
}
