// The scan for a sync over 64 KiB of cached bytes in which none is: text, in which no byte begins one, and noise, in
// which one byte of 256 does.

#include <benchmark/benchmark.h>

#include "framework/cache_scan.h"
#include "memory_item.h"

namespace quorin_bench {
namespace {

using namespace zu::md::common::quorin;

constexpr unsigned int scanned = 60000;

constexpr SyncPattern twelveBits = {2, {0xff, 0xf0, 0, 0}, {0xff, 0xff, 0, 0}};  // one noise does not hold
constexpr SyncPattern word = {4, {'f', 'L', 'a', 'C'}, {0xff, 0xff, 0xff, 0xff}};

/// Noise in which nothing follows 0xff that would make it a sync.
Bytes noiseWithoutSync() {
  Bytes bytes = quorin_test::testBytes(65536);
  for (size_t i = 1; i < bytes.size(); ++i) {
    if (bytes[i - 1] == 0xff) {
      bytes[i] &= 0x7f;
    }
  }
  return bytes;
}

void scan(benchmark::State& state, const Bytes& bytes, const SyncPattern& pattern) {
  const auto strell = opened(bytes);
  unsigned char* data = nullptr;
  strell->readDataCache(65536, data);
  for (auto _ : state) {
    strell->setDataCacheOffset(0);
    benchmark::DoNotOptimize(scanForSync(*strell, pattern, scanned, {"Bench", "scan", 0}));
  }
  if (strell->getDataCacheOffset() != scanned) {
    state.SkipWithError("the scan ended early");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * scanned);
}

const Bytes text = quorin_test::noise(65536);
const Bytes noise = noiseWithoutSync();

BENCHMARK_CAPTURE(scan, two_bytes_in_text, text, twelveBits);
BENCHMARK_CAPTURE(scan, two_bytes_in_noise, noise, twelveBits);
BENCHMARK_CAPTURE(scan, four_bytes_in_text, text, word);
BENCHMARK_CAPTURE(scan, four_bytes_in_noise, noise, word);

}  // namespace
}  // namespace quorin_bench

BENCHMARK_MAIN();
