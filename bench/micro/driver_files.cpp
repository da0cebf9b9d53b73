// bench_driver_files LIST: whole analyses of the library's files, one variant after the other.

#include <map>
#include <stdexcept>

#include "../side_by_side/read_list.h"
#include "micro.h"
#include "quorin/analyzer.h"

namespace quorin_bench {
namespace {

using namespace zu::md::common;

void analyze(benchmark::State& state, const std::vector<Item>& items) {
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  const int expected = expectedStatus(items.front().variant);
  size_t number = 0;
  for (auto _ : state) {
    const Item& item = items[number++ % items.size()];
    params.uri = item.path;
    boost::shared_ptr<quorin::AnalyzeResult> result;
    const int status = analyzer.analyze(params, result);
    if (status != expected) {
      fail(state,
           item.path + ": ended with status " + std::to_string(status) + ", a file of the variant " + item.variant);
      break;
    }
  }
}

}  // namespace

void registerAll(const std::vector<std::string>& arguments) {
  if (arguments.size() != 1) {
    throw std::runtime_error("usage: bench_driver_files [--benchmark_...] LIST");
  }
  std::map<std::string, std::vector<Item>> variants;
  for (const Item& item : readList(arguments.front())) {
    variants[item.variant].push_back(item);
  }
  for (const auto& [variant, items] : variants) {
    benchmark::RegisterBenchmark(("driver_files/" + variant).c_str(), analyze, items);
  }
}

}  // namespace quorin_bench
