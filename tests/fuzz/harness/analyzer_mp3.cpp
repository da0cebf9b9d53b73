#include "formats/analyzer_audio_mp3.h"
#include "fuzz_analyzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return quorin_test::fuzzAnalyzer<zu::md::common::quorin::AnalyzerAudioMp3>(data, size);
}
