#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "framework/analyzer_base.h"
#include "framework/analyzer_result.h"

namespace zu::md::common::quorin {

/// AAC in ADTS framing (ISO/IEC 13818-7; sampling frequencies of ISO/IEC 14496-3). A frame header and the sync of the
/// next frame make the format. The frames tell no bitrate; it comes from the "icy-br" line of the response header.
class AnalyzerAudioAdts : public AnalyzerBase {
 public:
  /// Cache offset before which the first frame must begin: one frame of the largest size and a sync.
  static constexpr unsigned int maxScan = 8194;

  AnalyzerAudioAdts();
  ~AnalyzerAudioAdts() override;

  int analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) override;

 private:
  /// Fields of a frame header, named as in the standard, with their widths in bits.
  struct FrameHeader {
    uint8_t ID = 0;                                         // 1
    uint8_t layer = 0;                                      // 2
    uint8_t protection_absent = 0;                          // 1
    uint8_t profile = 0;                                    // 2
    uint8_t sampling_frequency_index = 0;                   // 4
    uint8_t private_bit = 0;                                // 1
    uint8_t channel_configuration = 0;                      // 3
    uint8_t original_copy = 0;                              // 1
    uint8_t home = 0;                                       // 1
    uint8_t copyright_identification_bit = 0;               // 1
    uint8_t copyright_identification_start = 0;             // 1
    uint16_t aac_frame_length = 0;                          // 13, bytes, header included
    uint16_t adts_buffer_fullness = 0;                      // 11
    uint8_t number_of_raw_data_blocks_in_frame = 0;         // 2
    uint16_t crc_check = 0;                                 // 16
    std::unique_ptr<uint16_t[]> raw_data_block_position{};  // one per raw data block
  };

  int analyzeStream(boost::shared_ptr<Info>& info);

  /// The syntax elements, each at the cache offset. Non-zero on success; then the offset stands behind the element,
  /// for the two headers on the byte in which the next one begins.
  int adts_fixed_header();
  int adts_variable_header();
  int adts_error_check();
  int adts_header_error_check();
  int adts_raw_data_block_error_check();
  int adts_frame();

  /// Moves the cache offset to the next sync; non-zero when there is one.
  int scanAdts();

  /// Checks the frame at the cache offset and the sync behind it; non-zero on success.
  int checkAdts();
  int checkSecondSync(unsigned start);

  /// Takes the bitrate from the response header, the last "icy-br" winning.
  void determineBitrate();
  void storeBitrate(const std::string& text);

  void clearResults();

  boost::shared_ptr<AnalyzerResult> result_;
  boost::shared_ptr<strell::Strell> strell_;
  FrameHeader header_;
  int64_t dataStartOffset_ = -1;
};

}  // namespace zu::md::common::quorin
