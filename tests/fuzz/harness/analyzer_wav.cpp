#include "formats/analyzer_audio_wav.h"
#include "fuzz_analyzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return quorin_test::fuzzAnalyzer<zu::md::common::quorin::AnalyzerAudioWav>(data, size);
}
