#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>

#include "framework/analyzer_base.h"
#include "framework/analyzer_result.h"

namespace zu::md::common::quorin {

/// RIFF/WAVE with linear PCM (Microsoft/IBM Multimedia Programming Interface and Data Specifications 1.0). The format
/// chunk must follow the RIFF header at once or behind one LIST chunk.
class AnalyzerAudioWav : public AnalyzerBase {
 public:
  /// Cache offset before which the RIFF header must begin.
  static constexpr unsigned int maxScan = 1024;

  AnalyzerAudioWav();
  ~AnalyzerAudioWav() override;

  int analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) override;

 private:
  /// Format chunk with a body of 16 bytes, and the header of the chunk behind it, as they stand in the file.
  struct _waveHeader_t {
    char chunkId[4];
    uint32_t chunkSize;
    uint16_t audioFormat;
    uint16_t numChannels;
    uint32_t sampleRate;  ///< Hz
    uint32_t byteRate;    ///< bytes per second
    uint16_t blockAlign;
    uint16_t bitsPerSample;
    char dataChunkId[4];
    uint32_t dataChunkSize;
  };

  int analyzeStream(boost::shared_ptr<Info>& info);

  /// Moves the cache offset to the next "RIFF".
  bool scanRiff();

  /// Checks the RIFF header at the cache offset and what follows it, and fills the result.
  bool checkRiff();

  /// Steps over one LIST chunk at the cache offset. @return whether there was one
  bool checkList();

  /// Checks the format chunk at the cache offset. @return whether there is one, also one of a format without support
  bool checkWave();
  bool checkFormat(const _waveHeader_t& header);
  bool checkPcm(const _waveHeader_t& header);

  /// Brings the numbers, which are little-endian, into the order of the machine.
  static void correctWAVEHeaderEndianness(_waveHeader_t& header);

  void clearResults();

  boost::shared_ptr<AnalyzerResult> result_;
  boost::shared_ptr<strell::Strell> strell_;
  // kept: part of the layout that this analyzer and the one of FLAC share
  uint64_t reserved64_ = 0;
  uint8_t reserved8_ = 0;
  int32_t reserved32_ = 0;
};

}  // namespace zu::md::common::quorin
