#include "formats/analyzer_audio_adts.h"

#include <array>
#include <boost/make_shared.hpp>
#include <cerrno>
#include <cstdlib>
#include <deque>

#include "framework/analysis_steps.h"
#include "framework/at_exit.h"
#include "framework/byte_order.h"
#include "framework/cache_read.h"
#include "framework/cache_scan.h"
#include "framework/http_header.h"
#include "framework/log.h"
#include "framework/status.h"
#include "quorin/mime_types.h"

namespace zu::md::common::quorin {

namespace {

constexpr unsigned requiredProperties = PROP_SAMPLING_FREQUENCY | PROP_DATA_START_OFFSET | PROP_FRAME_SIZE;
static_assert(requiredProperties == 0x19, "the mask is part of the behaviour");

constexpr FormatWords words = {"AnalyzerAudioAdts", "ADTS", "ADTS"};

constexpr unsigned syncSize = 2;  // bytes

/// Bytes from where a header begins to the byte in which the next one begins, of the fixed and the variable header
/// alike. Each is read with the byte that it shares.
constexpr unsigned headerStep = 3;
constexpr unsigned headerSize = 4;

/// Hz, by sampling_frequency_index (ISO/IEC 14496-3); the indexes behind are reserved or not allowed in ADTS.
constexpr std::array<int32_t, 13> samplingFrequencies = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                         22050, 16000, 12000, 11025, 8000,  7350};

ReadPlace at(const char* operation, int line) { return {words.analyzer, operation, line}; }

uint8_t bits(unsigned char byte, unsigned lowest, unsigned width) {
  return static_cast<uint8_t>(bitField(byte, lowest, width));
}

bool isSync(const unsigned char* bytes) { return bytes[0] == 0xff && (bytes[1] & 0xf0) == 0xf0; }

}  // namespace

AnalyzerAudioAdts::AnalyzerAudioAdts() = default;

AnalyzerAudioAdts::~AnalyzerAudioAdts() = default;

void AnalyzerAudioAdts::clearResults() {
  result_.reset();
  strell_.reset();
  header_ = FrameHeader();
  dataStartOffset_ = 0;
}

int AnalyzerAudioAdts::analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) {
  if (!beginAnalysis(words, strell)) {
    return STATUS_NO_ARGUMENT;
  }
  clearResults();
  const AtExit release([this] { clearResults(); });
  strell_ = std::move(strell);
  result_ = boost::make_shared<AnalyzerResult>(requiredProperties);
  return analyzeStream(info);
}

int AnalyzerAudioAdts::analyzeStream(boost::shared_ptr<Info>& info) {
  const bool found = findStream(
      *strell_, words, maxScan, [this] { return scanAdts() != 0; }, [this] { return checkAdts() != 0; });
  if (!found || !result_->isComplete()) {
    return declineStream(words);
  }
  dataStartOffset_ += strell_->getDataCacheOffset();
  determineBitrate();
  moveToStart(strell_, dataStartOffset_, words, __LINE__);
  noteFile(*strell_, *result_);
  return acceptStream(words, result_, MimeTypes::AudioDlnaAdts, info);
}

int AnalyzerAudioAdts::scanAdts() {
  static constexpr SyncPattern sync = {syncSize, {0xff, 0xf0, 0, 0}, {0xff, 0xf0, 0, 0}};
  if (!scanForCandidate(*strell_, sync, maxScan, at(__func__, __LINE__))) {
    return 0;
  }
  result_->dataStartOffset = strell_->getDataCacheOffset();
  result_->validProperties |= PROP_DATA_START_OFFSET;
  return 1;
}

int AnalyzerAudioAdts::checkAdts() {
  QUORIN_LOG(Debug, "AnalyzerAudioAdts::%s()\n", __func__);
  const unsigned start = strell_->getDataCacheOffset();
  QUORIN_LOG(Debug, "AnalyzerAudioAdts::%s() cache offset: %u (0x%02x)\n", __func__, start, start);
  const unsigned char* const sync = readCached(*strell_, syncSize, at(__func__, __LINE__));
  if (sync == nullptr) {
    return 0;
  }
  const bool found = isSync(sync);
  strell_->setDataCacheOffset(start);
  if (!found) {
    return 0;
  }
  QUORIN_LOG(Debug, "AnalyzerAudioAdts::%s(): found ADTS sync sequence\n", __func__);
  if (adts_frame() == 0) {
    strell_->setDataCacheOffset(start);
    return 0;
  }
  return checkSecondSync(start);
}

int AnalyzerAudioAdts::checkSecondSync(unsigned start) {
  static const char* const name = "checkAdts";
  strell_->setDataCacheOffset(start + header_.aac_frame_length);
  const unsigned char* const sync = readCached(*strell_, syncSize, at(name, __LINE__));
  if (sync == nullptr) {
    // kept: the scan goes on from here and not from `start`, so a stream that breaks off is given up soon
    return 0;
  }
  const bool found = isSync(sync);
  if (!found) {
    QUORIN_LOG(Debug, "AnalyzerAudioAdts::%s(): missing second ADTS sync sequence\n", name);
  }
  strell_->setDataCacheOffset(start);
  return found ? 1 : 0;
}

int AnalyzerAudioAdts::adts_frame() {
  if (adts_fixed_header() == 0) {
    QUORIN_LOG(Error, "AnalyzerAudioAdts::%s():problem parsing fixed header\n", __func__);
    return 0;
  }
  if (adts_variable_header() == 0) {
    QUORIN_LOG(Error, "AnalyzerAudioAdts::%s():problem parsing variable header\n", __func__);
    return 0;
  }
  // kept: a frame whose checksums cannot be read is accepted, only the sync of the next one decides
  if (header_.number_of_raw_data_blocks_in_frame == 0) {
    adts_error_check();
    return 1;
  }
  adts_header_error_check();
  for (unsigned block = 0; block < header_.number_of_raw_data_blocks_in_frame; ++block) {
    adts_raw_data_block_error_check();
  }
  return 1;
}

int AnalyzerAudioAdts::adts_fixed_header() {
  const unsigned start = strell_->getDataCacheOffset();
  const unsigned char* const bytes = readCached(*strell_, headerSize, at(__func__, __LINE__));
  if (bytes == nullptr) {
    return 0;
  }
  header_.ID = bits(bytes[1], 3, 1);
  result_->mediaType = header_.ID == 1 ? MEDIA_TYPE_AAC_MPEG2 : MEDIA_TYPE_AAC_MPEG4;
  result_->validProperties |= PROP_MEDIA_TYPE;
  header_.layer = bits(bytes[1], 1, 2);
  header_.protection_absent = bits(bytes[1], 0, 1);
  header_.profile = bits(bytes[2], 6, 2);
  header_.sampling_frequency_index = bits(bytes[2], 2, 4);
  if (header_.sampling_frequency_index >= samplingFrequencies.size()) {
    QUORIN_LOG(Error, "AnalyzerAudioAdts::%s() found invalid value for sampling frequency index (0x%02x)\n", __func__,
               static_cast<unsigned>(header_.sampling_frequency_index));
    return 0;
  }
  result_->samplingFrequency = samplingFrequencies[header_.sampling_frequency_index];
  result_->validProperties |= PROP_SAMPLING_FREQUENCY;
  header_.private_bit = bits(bytes[2], 1, 1);
  header_.channel_configuration = static_cast<uint8_t>(bits(bytes[2], 0, 1) << 2 | bits(bytes[3], 6, 2));
  header_.original_copy = bits(bytes[3], 5, 1);
  header_.home = bits(bytes[3], 4, 1);
  strell_->setDataCacheOffset(start + headerStep);
  return 1;
}

int AnalyzerAudioAdts::adts_variable_header() {
  const unsigned start = strell_->getDataCacheOffset();
  const unsigned char* const bytes = readCached(*strell_, headerSize, at(__func__, __LINE__));
  if (bytes == nullptr) {
    return 0;
  }
  header_.copyright_identification_bit = bits(bytes[0], 3, 1);
  header_.copyright_identification_start = bits(bytes[0], 2, 1);
  // kept: bit 11 of the length is lost, so frames of 2048 bytes and more read short; which streams of such frames a
  // player refuses depends on it
  header_.aac_frame_length = static_cast<uint16_t>((bytes[0] & 0x02) << 11 | bytes[1] << 3 | bytes[2] >> 5);
  if (header_.aac_frame_length == 0) {
    return 0;
  }
  result_->frameSize = header_.aac_frame_length;
  result_->validProperties |= PROP_FRAME_SIZE;
  header_.adts_buffer_fullness = static_cast<uint16_t>(bits(bytes[2], 0, 5) << 6 | bits(bytes[3], 2, 6));
  header_.number_of_raw_data_blocks_in_frame = bits(bytes[3], 0, 2);
  strell_->setDataCacheOffset(start + headerStep);
  return 1;
}

int AnalyzerAudioAdts::adts_error_check() {
  if (header_.protection_absent != 0) {
    return 1;
  }
  const unsigned char* const bytes = readCached(*strell_, 2, at(__func__, __LINE__));
  if (bytes == nullptr) {
    return 0;
  }
  header_.crc_check = bigEndian16(bytes);
  return 1;
}

int AnalyzerAudioAdts::adts_header_error_check() {
  if (header_.protection_absent != 0) {
    return 1;
  }
  const unsigned blocks = header_.number_of_raw_data_blocks_in_frame;  // 1 to 3
  const unsigned char* bytes = readCached(*strell_, (blocks + 1) * 2, at(__func__, __LINE__));
  if (bytes == nullptr) {
    return 0;
  }
  header_.raw_data_block_position = std::make_unique<uint16_t[]>(blocks);
  for (unsigned block = 0; block < blocks; ++block, bytes += 2) {
    header_.raw_data_block_position[block] = bigEndian16(bytes);
  }
  header_.crc_check = bigEndian16(bytes);
  return 1;
}

int AnalyzerAudioAdts::adts_raw_data_block_error_check() {
  if (header_.protection_absent != 0) {
    return 1;
  }
  // kept: read where the element before ended, since the blocks themselves are not stepped over
  return readCached(*strell_, 2, at(__func__, __LINE__)) != nullptr ? 1 : 0;
}

void AnalyzerAudioAdts::determineBitrate() {
  static const char key[] = "icy-br";
  std::deque<std::string> lines;
  if (result_->has(PROP_BITRATE) || strell_->getHeaderList(lines) != STATUS_OK) {
    return;
  }
  for (const std::string& line : lines) {
    QUORIN_LOG(Debug, "AnalyzerAudioAdts::%s() Header=%s.\n", __func__, line.c_str());
    if (const auto value = headerValue(line, key)) {
      storeBitrate(*value);
    }
  }
}

void AnalyzerAudioAdts::storeBitrate(const std::string& text) {
  static const char* const file = "analyzer_audio_adts";
  static const char* const name = "determineBitrate";
  errno = 0;
  const long long bitrate = std::strtoll(text.c_str(), nullptr, 10);
  if (errno == ERANGE || bitrate < INT32_MIN || bitrate > INT32_MAX) {
    QUORIN_LOG(Error, "%s:%d:%s(): icy-br overflow.\n", file, __LINE__, name);
    return;
  }
  // kept: a line without a number gives the bitrate 0
  result_->bitrate = static_cast<int32_t>(bitrate);
  result_->validProperties |= PROP_BITRATE;
  QUORIN_LOG(Info, "%s:%d:%s(): found icy-br = %i.\n", file, __LINE__, name, static_cast<int>(bitrate));
}

}  // namespace zu::md::common::quorin
