#include "formats/analyzer_audio_flac.h"

#include <boost/make_shared.hpp>

#include "framework/analysis_steps.h"
#include "framework/at_exit.h"
#include "framework/byte_order.h"
#include "framework/cache_read.h"
#include "framework/cache_scan.h"
#include "framework/log.h"
#include "framework/status.h"
#include "quorin/mime_types.h"

namespace zu::md::common::quorin {

namespace {

constexpr unsigned requiredProperties = PROP_SAMPLING_FREQUENCY | PROP_BITRATE | PROP_DURATION | PROP_DATA_START_OFFSET;
static_assert(requiredProperties == 0x0F, "the mask is part of the behaviour");

constexpr FormatWords words = {"AnalyzerAudioFlac", "FLAC", "FLAC"};

constexpr unsigned markerSize = 4;         // bytes
constexpr unsigned blockHeaderSize = 4;    // bytes
constexpr uint16_t smallestBlock = 16;     // samples
constexpr unsigned fewestBits = 4;         // per sample
constexpr unsigned pictureShapeSize = 16;  // bytes: width, height, colour depth, colour count
/// Blocks that a walk seeks to. Each costs a fill of the cache, over HTTP a request, and a hostile file has room for
/// millions of empty ones; no encoder writes more than a few dozen.
constexpr unsigned maxSoughtBlocks = 4096;

constexpr uint32_t microsecondsPerSecond = 1000000;

enum BlockType : unsigned { StreaminfoBlock = 0, CueSheetBlock = 5, PictureBlock = 6 };

/// kept: the line numbers of this analyzer's read failures are fixed, logs from the field are searched for them
ReadPlace at(const char* operation, int line) { return {words.analyzer, operation, line}; }

}  // namespace

struct AnalyzerAudioFlac::Streaminfo {
  uint16_t minBlockSize;  // samples
  uint16_t maxBlockSize;
  uint32_t minFrameSize;  // bytes
  uint32_t maxFrameSize;
  uint32_t sampleRate;  // Hz
  uint8_t channels;
  uint64_t totalSamples;  // per channel; 0 unknown
};

AnalyzerAudioFlac::AnalyzerAudioFlac() = default;

AnalyzerAudioFlac::~AnalyzerAudioFlac() = default;

void AnalyzerAudioFlac::clearResults() {
  result_.reset();
  strell_.reset();
  reserved_ = 0;
  bitsPerSample_ = 0;
  sampleRate_ = 0;
}

int AnalyzerAudioFlac::analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) {
  if (!beginAnalysis(words, strell)) {
    return STATUS_NO_ARGUMENT;
  }
  clearResults();
  const AtExit release([this] { clearResults(); });
  strell_ = std::move(strell);
  result_ = boost::make_shared<AnalyzerResult>(requiredProperties);
  return analyzeStream(info);
}

int AnalyzerAudioFlac::analyzeStream(boost::shared_ptr<Info>& info) {
  const bool found = findStream(
      *strell_, words, maxScan, [this] { return scanFlac(); }, [this] { return checkFlac(); });
  if (!found || !result_->isComplete()) {
    return declineStream(words);
  }
  moveToStart(strell_, result_->dataStartOffset, words, 631);
  return acceptStream(words, result_, MimeTypes::AudioXFlac, info);
}

bool AnalyzerAudioFlac::scanFlac() {
  static constexpr SyncPattern marker = {markerSize, {'f', 'L', 'a', 'C'}, {0xff, 0xff, 0xff, 0xff}};
  return scanForCandidate(*strell_, marker, maxScan, at(__func__, 556));
}

bool AnalyzerAudioFlac::checkFlac() {
  QUORIN_LOG(Debug, "AnalyzerAudioFlac::%s()\n", __func__);
  const unsigned start = strell_->getDataCacheOffset();
  QUORIN_LOG(Debug, "AnalyzerAudioFlac::%s() cache offset: %u (0x%02x)\n", __func__, start, start);
  const unsigned char* const marker = readCached(*strell_, markerSize, at(__func__, 358));
  if (marker == nullptr) {
    return false;
  }
  if (!startsWith(marker, "fLaC")) {
    strell_->setDataCacheOffset(start);
    return false;
  }
  QUORIN_LOG(Debug, "AnalyzerAudioFlac::%s(): found FLAC sync sequence\n", __func__);
  const FileFacts file = noteFile(*strell_, *result_);
  Walk walk = {strell_->getDataCacheOffset(), file.isSeekable, false, 0};
  if (!walkMetadata(walk)) {
    return false;
  }
  if (file.isRealFile) {
    // kept: wraps when the last block claims more than the file holds
    estimateDuration(static_cast<uint64_t>(file.size) - static_cast<uint64_t>(walk.position));
  }
  // The data begins with the marker, so that a player gets the metadata too; time counts from the first frame.
  result_->dataStartOffset = start;
  result_->timeCalcStartOffset = walk.position;
  result_->mediaType = MEDIA_TYPE_FLAC;
  result_->validProperties |= PROP_DATA_START_OFFSET | PROP_TIME_CALC_START_OFFSET | PROP_MEDIA_TYPE;
  return returnToMarker(start, walk);
}

bool AnalyzerAudioFlac::walkMetadata(Walk& walk) {
  Block block = {};
  do {
    if (!readBlockHeader(walk, block) || !moveToBody(walk, block) || !checkBlock(walk, block)) {
      return false;
    }
    walk.position += blockHeaderSize + block.length;
  } while (!block.isLast);
  return true;
}

bool AnalyzerAudioFlac::readBlockHeader(const Walk& walk, Block& block) {
  static const char* const name = "checkFlac";
  const int status =
      walk.seeking ? strell_->seek(walk.position) : strell_->setDataCacheOffset(static_cast<unsigned>(walk.position));
  if (status != STATUS_OK) {
    QUORIN_LOG(Error, "AnalyzerAudioFlac::%s(): can not set read position. Error=%i \n", name, status);
    return false;
  }
  const unsigned char* const header = readCached(*strell_, blockHeaderSize, at(name, 416));
  if (header == nullptr) {
    return false;
  }
  block = {bitField(header[0], 0, 7), bitField(header[0], 7, 1) != 0, bigEndian24(header + 1)};
  QUORIN_LOG(Debug, "AnalyzerAudioFlac::%s(): found metadata block type %hhu, islastheader: %d, len: %u, pos:%lli\n",
             name, static_cast<unsigned char>(block.type), static_cast<int>(block.isLast), block.length,
             static_cast<long long>(walk.position));
  return true;
}

bool AnalyzerAudioFlac::moveToBody(Walk& walk, const Block& block) {
  static const char* const name = "checkFlac";
  const int64_t body = walk.position + blockHeaderSize;
  if (!walk.seeking) {
    // The walk may stay in the cache when the header of the next block lies there too.
    if (strell_->setDataCacheOffset(static_cast<unsigned>(body) + block.length + blockHeaderSize) == STATUS_OK) {
      strell_->setDataCacheOffset(static_cast<unsigned>(body));
      return true;
    }
    if (!walk.maySeek) {
      QUORIN_LOG(Error, "AnalyzerAudioFlac::%s(): stop analyzing. Cache too small and seek not supported\n", name);
      return false;
    }
    QUORIN_LOG(Debug, "AnalyzerAudioFlac::%s(): Cache too small. Switch to seek-mode\n", name);
    walk.seeking = true;
  }
  if (++walk.sought > maxSoughtBlocks) {
    QUORIN_LOG(Error, "AnalyzerAudioFlac::%s(): stop analyzing. Too many metadata blocks\n", name);
    return false;
  }
  if (const int status = strell_->seek(body); status != STATUS_OK) {
    QUORIN_LOG(Error, "AnalyzerAudioFlac::%s(): can not seek. Error=%i \n", name, status);
    return false;
  }
  return true;
}

bool AnalyzerAudioFlac::checkBlock(const Walk& walk, const Block& block) {
  static const char* const name = "checkFlac";
  if (block.type == StreaminfoBlock) {
    if (!checkStreaminfoBlock()) {
      QUORIN_LOG(Error, "AnalyzerAudioFlac::%s(): error parsing streaminfo block\n", name);
      return false;
    }
  } else if (block.type == PictureBlock) {
    if (!checkPictureBlock(walk.position + blockHeaderSize)) {
      QUORIN_LOG(Error, "AnalyzerAudioFlac::%s(): error parsing picture block\n", name);
      return false;
    }
  } else if (block.type > CueSheetBlock) {
    QUORIN_LOG(Debug, "AnalyzerAudioFlac::%s(): found unknown metadata block type %hhu\n", name,
               static_cast<unsigned char>(block.type));
  }
  return true;
}

void AnalyzerAudioFlac::estimateDuration(uint64_t audioBytes) {
  if (result_->has(PROP_DURATION) || bitsPerSample_ == 0 || sampleRate_ <= 0) {
    return;
  }
  // kept: 6.4 bits of samples per byte whatever the number of channels, and a product that wraps in 32 bits; players
  // show this estimate for streams of unknown length
  const auto samples = static_cast<uint32_t>(audioBytes * 64 / 10 / bitsPerSample_);
  const auto rate = static_cast<uint32_t>(sampleRate_);
  result_->duration.seconds = samples / rate;
  result_->duration.microseconds = static_cast<int32_t>(samples % rate * microsecondsPerSecond / rate);
  result_->validProperties |= PROP_DURATION;
  QUORIN_LOG(Debug, "AnalyzerAudioFlac::%s(): calc duration via file size: samples=%u [%llds+%06dus]\n", "checkFlac",
             samples, static_cast<long long>(result_->duration.seconds), result_->duration.microseconds);
}

bool AnalyzerAudioFlac::returnToMarker(unsigned start, const Walk& walk) {
  if (!walk.seeking) {
    strell_->setDataCacheOffset(start);
    return true;
  }
  if (const int status = strell_->seek(start); status != STATUS_OK) {
    QUORIN_LOG(Error, "AnalyzerAudioFlac::%s(): can not seek. Error=%i \n", "checkFlac", status);
    return false;
  }
  return true;
}

bool AnalyzerAudioFlac::checkStreaminfoBlock() {
  QUORIN_LOG(Debug, "AnalyzerAudioFlac::%s()\n", __func__);
  Streaminfo streaminfo = {};
  if (!readBlockSizes(streaminfo) || !readFrameSizes(streaminfo) || !readStreamProperties(streaminfo)) {
    return false;
  }
  QUORIN_LOG(Info,
             "AnalyzerAudioFlac::%s() minBlockSize: %hu, maxBlockSize: %hu, minFrameSize: %u, maxFrameSize: %u, "
             "sampleRate: %u, numChannels: %hhu, bitsPerSample: %hhu, samplesInStream: %llu\n",
             __func__, streaminfo.minBlockSize, streaminfo.maxBlockSize, streaminfo.minFrameSize,
             streaminfo.maxFrameSize, streaminfo.sampleRate, streaminfo.channels, bitsPerSample_,
             static_cast<unsigned long long>(streaminfo.totalSamples));
  storeStreaminfo(streaminfo);
  return true;
}

bool AnalyzerAudioFlac::readBlockSizes(Streaminfo& streaminfo) {
  static const char* const name = "checkStreaminfoBlock";
  const unsigned char* field = readCached(*strell_, 2, at(name, 117));
  if (field == nullptr) {
    return false;
  }
  streaminfo.minBlockSize = bigEndian16(field);
  if (streaminfo.minBlockSize < smallestBlock) {
    QUORIN_LOG(Error, "AnalyzerAudioFlac::%s() invalid minimum block size value\n", name);
    return false;
  }
  field = readCached(*strell_, 2, at(name, 130));
  if (field == nullptr) {
    return false;
  }
  streaminfo.maxBlockSize = bigEndian16(field);
  if (streaminfo.maxBlockSize < smallestBlock) {
    QUORIN_LOG(Error, "AnalyzerAudioFlac::%s() invalid maximum block size value\n", name);
    return false;
  }
  return true;
}

bool AnalyzerAudioFlac::readFrameSizes(Streaminfo& streaminfo) {
  static const char* const name = "checkStreaminfoBlock";
  const unsigned char* field = readCached(*strell_, 3, at(name, 143));
  if (field == nullptr) {
    return false;
  }
  streaminfo.minFrameSize = bigEndian24(field);
  field = readCached(*strell_, 3, at(name, 152));
  if (field == nullptr) {
    return false;
  }
  streaminfo.maxFrameSize = bigEndian24(field);
  return true;
}

bool AnalyzerAudioFlac::readStreamProperties(Streaminfo& streaminfo) {
  static const char* const name = "checkStreaminfoBlock";
  // 20 bits sample rate, 3 bits channels - 1, 5 bits bits per sample - 1, 36 bits total samples
  const unsigned char* const bits = readCached(*strell_, 8, at(name, 161));
  if (bits == nullptr) {
    return false;
  }
  streaminfo.sampleRate = bigEndian24(bits) >> 4;
  if (streaminfo.sampleRate == 0) {
    QUORIN_LOG(Error, "AnalyzerAudioFlac::%s() invalid sample rate\n", name);
    return false;
  }
  streaminfo.channels = static_cast<uint8_t>(bitField(bits[2], 1, 3) + 1);
  streaminfo.totalSamples = static_cast<uint64_t>(bitField(bits[3], 0, 4)) << 32 | bigEndian32(bits + 4);
  bitsPerSample_ = static_cast<uint8_t>((bitField(bits[2], 0, 1) << 4 | bitField(bits[3], 4, 4)) + 1);
  if (bitsPerSample_ < fewestBits) {
    bitsPerSample_ = 0;
    QUORIN_LOG(Error, "AnalyzerAudioFlac::%s() invalid bits-per-sample value\n", name);
    return false;
  }
  return true;
}

void AnalyzerAudioFlac::storeStreaminfo(const Streaminfo& streaminfo) {
  const uint32_t rate = streaminfo.sampleRate;
  sampleRate_ = static_cast<int32_t>(rate);
  result_->samplingFrequency = sampleRate_;
  // kept: of one channel, whatever their number; players compare it with the bitrates of other formats
  result_->bitrate = sampleRate_ * bitsPerSample_ / 1000;
  result_->validProperties |= PROP_SAMPLING_FREQUENCY | PROP_BITRATE;
  if (streaminfo.totalSamples != 0) {
    result_->duration.seconds = static_cast<int64_t>(streaminfo.totalSamples / rate);
    result_->duration.microseconds =
        static_cast<int32_t>(streaminfo.totalSamples % rate * microsecondsPerSecond / rate);
    result_->validProperties |= PROP_DURATION;
  }
}

bool AnalyzerAudioFlac::checkPictureBlock(int64_t blockBodyOffset) {
  static const char* const name = "checkPictureBlock";
  QUORIN_LOG(Debug, "AnalyzerAudioFlac::%s()\n", name);
  const unsigned start = strell_->getDataCacheOffset();
  const auto skip = [this](uint32_t length, int line) {
    return readCached(*strell_, length, at(name, line)) != nullptr;
  };
  const auto read = [this](uint32_t& value, int line) {
    const unsigned char* const bytes = readCached(*strell_, 4, at(name, line));
    if (bytes != nullptr) {
      value = bigEndian32(bytes);
    }
    return bytes != nullptr;
  };
  uint32_t type = 0;
  uint32_t mimeLength = 0;
  uint32_t descriptionLength = 0;
  uint32_t length = 0;
  if (!read(type, 271) || !read(mimeLength, 279) || !skip(mimeLength, 287) || !read(descriptionLength, 298) ||
      !skip(descriptionLength, 306) || !skip(pictureShapeSize, 321) || !read(length, 324)) {
    return false;
  }
  const long long offset = blockBodyOffset + (strell_->getDataCacheOffset() - start);
  result_->embeddedPictures.push_back({offset, static_cast<int32_t>(length)});
  QUORIN_LOG(Debug, "AnalyzerAudioFlac::%s() Found picture. type=%i mimeLen=%i, descLen=%i, picLen=%i, offset=%lli\n",
             name, static_cast<int>(type), static_cast<int>(mimeLength), static_cast<int>(descriptionLength),
             static_cast<int>(length), offset);
  return true;
}

}  // namespace zu::md::common::quorin
