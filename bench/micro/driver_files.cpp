// bench_driver_files LIST: whole analyses of the library's files, one variant after the other.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>

#include "../side_by_side/readers.h"
#include "quorin/analyzer.h"

namespace quorin_bench {
namespace {

using namespace zu::md::common;

void analyze(benchmark::State& state, const std::vector<std::string>& paths) {
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  size_t number = 0;
  for (auto _ : state) {
    params.uri = paths[number++ % paths.size()];
    boost::shared_ptr<quorin::AnalyzeResult> result;
    benchmark::DoNotOptimize(analyzer.analyze(params, result));
  }
}

void registerAll(const std::string& list) {
  std::map<std::string, std::vector<std::string>> variants;
  for (const Item& item : readList(list)) {
    variants[item.variant].push_back(item.path);
  }
  for (const auto& [variant, paths] : variants) {
    benchmark::RegisterBenchmark(("driver_files/" + variant).c_str(), analyze, paths);
  }
}

}  // namespace
}  // namespace quorin_bench

int main(int count, char** arguments) {
  benchmark::Initialize(&count, arguments);
  if (count != 2) {
    std::fprintf(stderr, "usage: bench_driver_files [--benchmark_...] LIST\n");
    return 2;
  }
  try {
    quorin_bench::registerAll(arguments[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_driver_files: %s\n", error.what());
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
