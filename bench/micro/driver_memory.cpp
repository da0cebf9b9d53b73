// Whole analyses by URI of items in memory: all that the library does, without the machine's files.

#include "../side_by_side/read_list.h"
#include "memory_item.h"
#include "micro.h"
#include "quorin/analyzer.h"

namespace quorin_bench {
namespace {

using namespace zu::md::common;

void analyze(benchmark::State& state, const MemoryItem& item) {
  md::registerUrlScheme("memory",
                        [&item](const std::string&, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
                          url = sourceOf(item);
                          return 0;
                        });
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  params.uri = "memory:item";
  int status = 0;
  for (auto _ : state) {
    boost::shared_ptr<quorin::AnalyzeResult> result;
    benchmark::DoNotOptimize(status = analyzer.analyze(params, result));
  }
  if (status != expectedStatus(item.name)) {
    fail(state, item.name + ": ended with status " + std::to_string(status));
  }
}

}  // namespace

void registerAll(const std::vector<std::string>&) {
  for (const MemoryItem& item : memoryItems()) {
    benchmark::RegisterBenchmark(("driver_memory/" + item.name).c_str(), analyze, item);
  }
}

}  // namespace quorin_bench
