// The heap that one analysis takes at most, the opened item with its cache included. Each test prints lines "heap NAME
// PEAK KEPT LIMIT", in bytes, which embedded_fit.sh collects.

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "driver/fault_samples.h"
#include "quorin/analyzer.h"
#include "support/bytes.h"
#include "support/encoded_mp3.h"
#include "support/encoders.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"

namespace {

size_t live = 0;
size_t peak = 0;

void* counted(void* memory) {
  live += malloc_usable_size(memory);  // what is taken from the heap, not only what was asked for
  peak = std::max(peak, live);
  return memory;
}

void* allocate(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return counted(memory);
}

void release(void* memory) noexcept {
  live -= memory == nullptr ? 0 : malloc_usable_size(memory);
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return counted(std::malloc(size)); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return counted(std::malloc(size)); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }

namespace quorin_test {
namespace {

using zu::md::common::quorin::Analyzer;
using zu::md::common::quorin::AnalyzeResult;

/// Bytes. Two regions of 64 KiB and what one of them takes while it grows; a quarter of a megabyte is what a small
/// device can spare for a moment.
constexpr size_t mostHeap = size_t{256} * 1024;
/// Bytes. The head of a source that cannot seek is 1 MiB, and grows in one step from half of that.
constexpr size_t mostHeapWithoutSeeking = size_t{1600} * 1024;

struct Cost {
  size_t peak;  ///< above what was taken before
  size_t kept;  ///< with the result
};

Cost costOf(const std::string& uri) {
  Analyzer analyzer(Analyzer::MODE_AUDIO);
  zu::md::common::strell::OpenParams params;
  params.uri = uri;
  boost::shared_ptr<AnalyzeResult> result;
  const size_t before = live;
  peak = live;
  analyzer.analyze(params, result);
  EXPECT_TRUE(result && result->info) << uri;
  return {peak - before, live - before};
}

void expectCost(const std::string& name, const Cost& cost, size_t most) {
  std::printf("heap %s %zu %zu %zu\n", name.c_str(), cost.peak, cost.kept, most);
  EXPECT_GT(cost.kept, 1000U) << "nothing was counted";
  EXPECT_LE(cost.peak, most);
}

/// Of an item that is opened beforehand: its bytes are the test's own.
Cost costOfSource(const boost::shared_ptr<MdchUrlBase>& source) {
  const ScriptedScheme scheme("heap", [source](const std::string&) { return ScriptedScheme::Answer{0, source}; });
  return costOf("heap:item");
}

class SampleHeap : public testing::TestWithParam<size_t> {};

TEST_P(SampleHeap, IsSmall) {
  const FaultSample& sample = faultSamples()[GetParam()];
  SourceScript script;
  script.bytes = sample.bytes;
  script.seekable = !sample.live;
  script.sizeKnown = !sample.live;
  boost::shared_ptr<MdchUrlBase> source = boost::make_shared<ScriptedSource>(script);
  if (!sample.header.empty()) {
    source = boost::make_shared<ScriptedHttpSource>(script, sample.header);
  }
  expectCost(sample.name, costOfSource(source), mostHeap);
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleHeap, testing::Range<size_t>(0, faultSamples().size()),
                         [](const testing::TestParamInfo<size_t>& sample) {
                           return faultSamples()[sample.param].name;
                         });

TEST(EncodedHeap, IsSmall) {
  const std::string cover = noisyPng(300);  // about 180 KB: beyond the head
  const std::pair<const char*, std::string> files[] = {
      {"lame.mp3", EncodedMp3::byLame({"-V2"}).path()},
      {"ffmpeg_with_cover.mp3", EncodedMp3::byFfmpeg({"-b:a", "128k"}, Sound(), {cover}).path()},
      {"ffmpeg.aac", ffmpeg(wave(), {"-c:a", "aac"}, ".aac")},
      {"flac.flac", flac(wave())},
      {"flac_with_cover.flac", flac(wave(), {"--picture=" + cover})},
      {"sox.wav", wave()},
  };
  for (const auto& [name, path] : files) {
    expectCost(name, costOf(path), mostHeap);
  }
}

TEST(EncodedHeap, IsSmallWhereNothingIsRecognised) {
  SourceScript script;
  script.bytes = noise(500000);
  expectCost("noise", costOfSource(boost::make_shared<ScriptedSource>(script)), mostHeap);
}

TEST(HeapWithoutSeeking, IsThatOfTheWholeHead) {
  SourceScript script;
  script.seekable = false;
  script.bytes = concat({Id3v2Tag().around(repeat(id3v2Frame(3, "COMM", noise(10000)), 100)), mpegFrames(60)});
  expectCost("tag_of_1_MB_without_seeking", costOfSource(boost::make_shared<ScriptedSource>(script)),
             mostHeapWithoutSeeking);
}

}  // namespace
}  // namespace quorin_test
