#include "formats/analyzer_audio_wav.h"

#include <boost/make_shared.hpp>
#include <cstring>

#include "framework/analysis_steps.h"
#include "framework/at_exit.h"
#include "framework/byte_order.h"
#include "framework/cache_read.h"
#include "framework/cache_scan.h"
#include "framework/log.h"
#include "framework/status.h"
#include "framework/wrapping.h"
#include "quorin/mime_types.h"

namespace zu::md::common::quorin {

namespace {

constexpr unsigned requiredProperties = PROP_SAMPLING_FREQUENCY | PROP_BITRATE | PROP_DURATION | PROP_DATA_START_OFFSET;
static_assert(requiredProperties == 0x0F, "the mask is part of the behaviour");

/// kept: success is announced with the word of FLAC, logs from the field are searched for it
constexpr FormatWords words = {"AnalyzerAudioWav", "WAV", "FLAC"};

constexpr unsigned markerSize = 4;       // bytes
constexpr unsigned riffHeaderSize = 12;  // bytes: "RIFF", size, form type
constexpr unsigned listHeaderSize = 12;  // bytes: "LIST", size, list type
constexpr unsigned chunkHeaderSize = 8;  // bytes: identifier, size; the size does not count them
constexpr uint16_t pcmFormat = 1;

/// kept: the line numbers of this analyzer's read failures are fixed, logs from the field are searched for them
ReadPlace at(const char* operation, int line) { return {words.analyzer, operation, line}; }

void correctEndianness(uint16_t& field) {
  unsigned char bytes[sizeof field];
  std::memcpy(bytes, &field, sizeof field);
  field = littleEndian16(bytes);
}

void correctEndianness(uint32_t& field) {
  unsigned char bytes[sizeof field];
  std::memcpy(bytes, &field, sizeof field);
  field = littleEndian32(bytes);
}

}  // namespace

AnalyzerAudioWav::AnalyzerAudioWav() = default;

AnalyzerAudioWav::~AnalyzerAudioWav() = default;

void AnalyzerAudioWav::clearResults() {
  result_.reset();
  strell_.reset();
  reserved64_ = 0;
  reserved8_ = 0;
  reserved32_ = 0;
}

int AnalyzerAudioWav::analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) {
  if (!beginAnalysis(words, strell)) {
    return STATUS_NO_ARGUMENT;
  }
  clearResults();
  const AtExit release([this] { clearResults(); });
  strell_ = std::move(strell);
  result_ = boost::make_shared<AnalyzerResult>(requiredProperties);
  return analyzeStream(info);
}

int AnalyzerAudioWav::analyzeStream(boost::shared_ptr<Info>& info) {
  const bool found = findStream(
      *strell_, words, maxScan, [this] { return scanRiff(); }, [this] { return checkRiff(); });
  if (!found || !result_->isComplete()) {
    return declineStream(words);
  }
  moveToStart(strell_, result_->dataStartOffset, words, 397);
  return acceptStream(words, result_, MimeTypes::AudioXWave, info);
}

bool AnalyzerAudioWav::scanRiff() {
  static constexpr SyncPattern marker = {markerSize, {'R', 'I', 'F', 'F'}, {0xff, 0xff, 0xff, 0xff}};
  return scanForCandidate(*strell_, marker, maxScan, at(__func__, 323));
}

bool AnalyzerAudioWav::checkRiff() {
  QUORIN_LOG(Debug, "AnalyzerAudioWav::%s()\n", __func__);
  const unsigned start = strell_->getDataCacheOffset();
  const unsigned char* const header = readCached(*strell_, riffHeaderSize, at(__func__, 257));
  if (header == nullptr) {
    return false;
  }
  if (!startsWith(header, "RIFF")) {
    strell_->setDataCacheOffset(start);
    return false;
  }
  QUORIN_LOG(Debug, "AnalyzerAudioWav::%s(): found RIFF header. size=%u\n", __func__, littleEndian32(header + 4));
  const unsigned char* const form = header + 8;
  if (!startsWith(form, "WAVE")) {
    QUORIN_LOG(Error, "AnalyzerAudioWav::%s(): found RIFF header, but did not recognize format '%c%c%c%c'\n", __func__,
               form[0], form[1], form[2], form[3]);
    strell_->setDataCacheOffset(start);
    return false;
  }
  checkList();
  if (!checkWave()) {
    strell_->setDataCacheOffset(start);
    return false;
  }
  // The data begins with the RIFF header: a decoder of WAV needs it.
  result_->dataStartOffset = start;
  result_->mediaType = MEDIA_TYPE_WAV;
  result_->validProperties |= PROP_DATA_START_OFFSET | PROP_MEDIA_TYPE;
  return true;
}

bool AnalyzerAudioWav::checkList() {
  const unsigned start = strell_->getDataCacheOffset();
  QUORIN_LOG(Debug, "AnalyzerAudioWav::%s() offset=%u\n", __func__, start);
  const unsigned char* const header = readCached(*strell_, listHeaderSize, at(__func__, 219));
  if (header == nullptr) {
    return false;
  }
  if (!startsWith(header, "LIST")) {
    strell_->setDataCacheOffset(start);
    return false;
  }
  const uint32_t size = littleEndian32(header + 4);
  QUORIN_LOG(Debug, "AnalyzerAudioWav::%s(): found LIST chunk. size=%u\n", __func__, size);
  // kept: no pad byte behind an odd size; files of encoders that write none are recognised that way
  strell_->setDataCacheOffset(start + chunkHeaderSize + size);
  return true;
}

bool AnalyzerAudioWav::checkWave() {
  const unsigned start = strell_->getDataCacheOffset();
  QUORIN_LOG(Debug, "AnalyzerAudioWav::%s() offset=%u\n", __func__, start);
  _waveHeader_t header;
  static_assert(sizeof header == 32, "the fields lie as in the file");
  const unsigned char* const bytes = readCached(*strell_, sizeof header, at(__func__, 171));
  if (bytes == nullptr) {
    return false;
  }
  std::memcpy(&header, bytes, sizeof header);
  const bool accepted = startsWith(bytes, "fmt ") && checkFormat(header);
  strell_->setDataCacheOffset(start);
  return accepted;
}

bool AnalyzerAudioWav::checkFormat(const _waveHeader_t& asRead) {
  static const char* const name = "checkWave";
  QUORIN_LOG(Debug, "AnalyzerAudioWav::%s(): found WAVE header\n", name);
  _waveHeader_t header = asRead;
  correctWAVEHeaderEndianness(header);
  if (header.audioFormat != pcmFormat) {
    // kept: the file counts as found, so the search ends here and the item is declined for its missing properties
    QUORIN_LOG(Error, "AnalyzerAudioWav::%s(): wave audio format %hu not supported\n", name, header.audioFormat);
    return true;
  }
  QUORIN_LOG(Debug, "AnalyzerAudioWav::%s(): found PCM audio\n", name);
  const bool accepted = checkPcm(header);
  if (!accepted) {
    // kept: no PCM header fails today
    QUORIN_LOG(Error, "AnalyzerAudioWav::%s(): failed to analyze WAV, giving up\n", name);
  }
  return accepted;
}

bool AnalyzerAudioWav::checkPcm(const _waveHeader_t& header) {
  QUORIN_LOG(Debug, "AnalyzerAudioWav::%s()\n", __func__);
  // kept: the products wrap in 32 bits from a rate of 512 MiB per second on
  const uint32_t bitsPerSecond = header.byteRate * 8;
  if (!result_->has(PROP_SAMPLING_FREQUENCY)) {
    result_->samplingFrequency = static_cast<int32_t>(header.sampleRate);
    result_->validProperties |= PROP_SAMPLING_FREQUENCY;
  }
  if (!result_->has(PROP_BITRATE)) {
    result_->bitrate = static_cast<int32_t>(bitsPerSecond / 1000);
    result_->validProperties |= PROP_BITRATE;
  }
  long long size = 0;
  if (strell_->size(size) != STATUS_OK) {
    return true;
  }
  if (!result_->has(PROP_DURATION)) {
    // kept: the whole file counts, headers and trailing chunks included. Without a rate there is no telling.
    result_->duration = {bitsPerSecond == 0 ? 0 : wrappingProduct(size, 8) / bitsPerSecond, 0};
    result_->validProperties |= PROP_DURATION;
  }
  result_->dataEndOffset = wrappingDifference(size, 1);
  result_->validProperties |= PROP_DATA_END_OFFSET;
  if (size > Info::MaximumHttpHeaderSize && isSeekable(*strell_)) {
    result_->grantSeeking();
  }
  return true;
}

void AnalyzerAudioWav::correctWAVEHeaderEndianness(_waveHeader_t& header) {
  correctEndianness(header.chunkSize);
  correctEndianness(header.audioFormat);
  correctEndianness(header.numChannels);
  correctEndianness(header.sampleRate);
  correctEndianness(header.byteRate);
  correctEndianness(header.blockAlign);
  correctEndianness(header.bitsPerSample);
  correctEndianness(header.dataChunkSize);
}

}  // namespace zu::md::common::quorin
