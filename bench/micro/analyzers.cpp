// Each analyzer by itself on items of its own format and on those it declines; opening is measured by itself, too.

#include "formats/analyzer_audio_adts.h"
#include "formats/analyzer_audio_dlna_pcm.h"
#include "formats/analyzer_audio_flac.h"
#include "formats/analyzer_audio_mp3.h"
#include "formats/analyzer_audio_wav.h"
#include "memory_item.h"
#include "micro.h"

namespace quorin_bench {
namespace {

using namespace zu::md::common::quorin;

void openAlone(benchmark::State& state, const MemoryItem& item) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(opened(item));
  }
}

template <typename Analyzer>
void analyze(benchmark::State& state, const MemoryItem& item) {
  Analyzer analyzer;
  for (auto _ : state) {
    boost::shared_ptr<Info> info;
    benchmark::DoNotOptimize(analyzer.analyze(opened(item), info));
  }
}

}  // namespace

void registerAll(const std::vector<std::string>&) {
  benchmark::RegisterBenchmark("open", openAlone, memoryItems().front());
  for (const MemoryItem& item : memoryItems()) {
    const auto add = [&item](const char* analyzer, auto* function) {
      benchmark::RegisterBenchmark((std::string(analyzer) + '/' + item.name).c_str(), function, item);
    };
    add("dlna_pcm", analyze<AnalyzerAudioDlnaPcm>);
    add("wav", analyze<AnalyzerAudioWav>);
    add("flac", analyze<AnalyzerAudioFlac>);
    add("mp3", analyze<AnalyzerAudioMp3>);
    add("adts", analyze<AnalyzerAudioAdts>);
  }
}

}  // namespace quorin_bench
