#include <cstdio>
#include <exception>

#include "micro.h"

namespace quorin_bench {

namespace {
bool failed = false;
}

void fail(benchmark::State& state, const std::string& what) {
  failed = true;
  std::fprintf(stderr, "%s\n", what.c_str());  // who writes the figures to a file does not look at the table
  state.SkipWithError(what.c_str());
}

}  // namespace quorin_bench

int main(int count, char** arguments) {
  benchmark::Initialize(&count, arguments);
  try {
    quorin_bench::registerAll({arguments + 1, arguments + count});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", arguments[0], error.what());
    return 2;
  }
  benchmark::RunSpecifiedBenchmarks();
  return quorin_bench::failed ? 1 : 0;
}
