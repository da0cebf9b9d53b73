// The scan for a sync over 64 KiB of cached bytes in which none is: text, in which no byte begins one, and noise, in
// which one byte of 256 does.

#include "framework/cache_scan.h"
#include "memory_item.h"
#include "micro.h"

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
  const MemoryItem item = {"scanned", bytes};
  const auto strell = opened(item);
  unsigned char* data = nullptr;
  strell->readDataCache(65536, data);
  for (auto _ : state) {
    strell->setDataCacheOffset(0);
    benchmark::DoNotOptimize(scanForSync(*strell, pattern, scanned, {"Bench", "scan", 0}));
  }
  if (strell->getDataCacheOffset() != scanned) {
    fail(state, "the scan ended early");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * scanned);
}

}  // namespace

void registerAll(const std::vector<std::string>&) {
  const Bytes text = quorin_test::noise(65536);
  const Bytes noise = noiseWithoutSync();
  benchmark::RegisterBenchmark("scan/two_bytes_in_text", scan, text, twelveBits);
  benchmark::RegisterBenchmark("scan/two_bytes_in_noise", scan, noise, twelveBits);
  benchmark::RegisterBenchmark("scan/four_bytes_in_text", scan, text, word);
  benchmark::RegisterBenchmark("scan/four_bytes_in_noise", scan, noise, word);
}

}  // namespace quorin_bench
