// Whole analyses by URI of items in memory: all that the library does, without the machine's files.

#include <benchmark/benchmark.h>

#include "memory_item.h"
#include "quorin/analyzer.h"

namespace quorin_bench {
namespace {

using namespace zu::md::common;

void analyze(benchmark::State& state, const MemoryItem& item) {
  md::registerUrlScheme("memory",
                        [&item](const std::string&, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
                          url = boost::make_shared<MemorySource>(item.bytes);
                          return 0;
                        });
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  params.uri = "memory:item";
  for (auto _ : state) {
    boost::shared_ptr<quorin::AnalyzeResult> result;
    benchmark::DoNotOptimize(analyzer.analyze(params, result));
  }
}

void registerAll() {
  for (const MemoryItem& item : memoryItems()) {
    benchmark::RegisterBenchmark(("driver_memory/" + item.name).c_str(), analyze, item);
  }
}

}  // namespace
}  // namespace quorin_bench

int main(int count, char** arguments) {
  benchmark::Initialize(&count, arguments);
  quorin_bench::registerAll();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
