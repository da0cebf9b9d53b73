// analyse_times FILE TIMES: analyses a file so many times. What one analysis takes is the difference of two runs.

#include <cstdio>
#include <cstdlib>

#include "quorin/analyzer.h"

int main(int count, char** arguments) {
  namespace quorin = zu::md::common::quorin;
  if (count != 3) {
    std::fprintf(stderr, "usage: analyse_times FILE TIMES\n");
    return 2;
  }
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  zu::md::common::strell::OpenParams params;
  params.uri = arguments[1];
  for (int left = std::atoi(arguments[2]); left > 0; --left) {
    boost::shared_ptr<quorin::AnalyzeResult> result;
    analyzer.analyze(params, result);
  }
  return 0;
}
