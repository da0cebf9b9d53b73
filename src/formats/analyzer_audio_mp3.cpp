#include "formats/analyzer_audio_mp3.h"

#include <boost/make_shared.hpp>
#include <cstring>
#include <vector>

#include "formats/id3v2.h"
#include "formats/id3v2_walk.h"
#include "formats/mpeg_frame_header.h"
#include "framework/byte_order.h"
#include "framework/cache_read.h"
#include "framework/cache_scan.h"
#include "framework/log.h"
#include "framework/status.h"
#include "framework/wrapping.h"
#include "quorin/mime_types.h"

namespace zu::md::common::quorin {

namespace {

constexpr unsigned requiredProperties =
    PROP_SAMPLING_FREQUENCY | PROP_BITRATE | PROP_DATA_START_OFFSET | PROP_FRAME_SIZE;
static_assert(requiredProperties == 0x1B, "the mask is part of the behaviour");

/// Bytes behind the tag within which the first frame must begin: two frames of the largest size in use.
constexpr unsigned maxScan = 2883;

constexpr unsigned syncSize = 2;     // bytes
constexpr unsigned vbriOffset = 36;  // bytes from the frame's start: header and 32 bytes of side information
constexpr unsigned vbriSize = 26;    // bytes
constexpr unsigned xingSize = 120;   // bytes with every optional field
constexpr unsigned lameSize = 21;    // bytes that are looked at
constexpr unsigned id3v1Size = 128;  // bytes
constexpr int32_t bitrateUnknown = -1;
constexpr int32_t microsecondsUnknown = -1;

enum XingFlag : uint32_t { XingFrames = 0x1, XingBytes = 0x2, XingToc = 0x4, XingQuality = 0x8 };

/// Bytes from the Xing tag to behind the last field that is present.
unsigned xingLength(uint32_t flags) {
  return 8 + ((flags & XingFrames) != 0 ? 4 : 0) + ((flags & XingBytes) != 0 ? 4 : 0) +
         ((flags & XingToc) != 0 ? 100 : 0) + ((flags & XingQuality) != 0 ? 4 : 0);
}

ReadPlace at(const char* operation, int line) { return {"AnalyzerAudioMp3", operation, line}; }

bool begins(const unsigned char* bytes, const char* tag) { return std::memcmp(bytes, tag, std::strlen(tag)) == 0; }

}  // namespace

AnalyzerAudioMp3::AnalyzerAudioMp3() = default;

AnalyzerAudioMp3::~AnalyzerAudioMp3() = default;

void AnalyzerAudioMp3::clearResults() {
  result_.reset();
  strell_.reset();
  dataStartOffset_ = 0;
  samplingFrequency_ = -1;
  bitrate_ = bitrateUnknown;
  duration_ = {0, microsecondsUnknown};
}

int AnalyzerAudioMp3::analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) {
  QUORIN_LOG(Info, "AnalyzerAudioMp3::%s() in\n", __func__);
  if (!strell) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s() strell not set\n", __func__);
    return STATUS_NO_ARGUMENT;
  }
  clearResults();
  // On every way out, a failed allocation included: the source must not stay open with nobody to close it.
  struct Release {
    ~Release() { analyzer.clearResults(); }
    AnalyzerAudioMp3& analyzer;
  } const release = {*this};
  strell_ = std::move(strell);
  result_ = boost::make_shared<AnalyzerResult>(requiredProperties);
  return analyzeStream(info);
}

int AnalyzerAudioMp3::analyzeStream(boost::shared_ptr<Info>& info) {
  static const char* const name = "analyze";
  strell_->setDataCacheOffset(0);
  if (checkID3v2() == 0) {
    strell_->setDataCacheOffset(0);
  }
  findFirstFrame(strell_->getDataCacheOffset());
  if (!result_->isComplete()) {
    QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s() out not found. \n", name);
    return STATUS_NOT_THIS_FORMAT;
  }
  grantSeeking();
  QUORIN_LOG(Info, "AnalyzerAudioMp3::%s(): MP3 found\n", name);
  result_->debugPrint();
  info = boost::make_shared<AudioInfo>(result_, MimeTypes::AudioMpeg);
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s(): out ok\n", name);
  return STATUS_OK;
}

void AnalyzerAudioMp3::findFirstFrame(unsigned base) {
  static const char* const name = "analyze";
  while (strell_->getDataCacheOffset() - base < maxScan) {
    if (scanMpeg() == 0) {
      QUORIN_LOG(Info, "AnalyzerAudioMp3::%s(): no MPEG header found\n", name);
      return;
    }
    const bool accepted = checkMpeg() != 0;
    if (accepted && result_->has(PROP_BITRATE)) {
      acceptFirstFrame(base);
      return;
    }
    if (accepted) {
      QUORIN_LOG(Info, "AnalyzerAudioMp3::%s(): analyzing Bitrate missing. Try again.\n", name);
    } else {
      QUORIN_LOG(Info, "AnalyzerAudioMp3::%s(): analyzing MPEG not successfull\n", name);
    }
    strell_->setDataCacheOffset(strell_->getDataCacheOffset() + 1);
  }
}

void AnalyzerAudioMp3::acceptFirstFrame(unsigned base) {
  dataStartOffset_ += strell_->getDataCacheOffset() - base;
  result_->dataStartOffset = dataStartOffset_;
  result_->validProperties |= PROP_DATA_START_OFFSET;
  if (const int status = skipData(strell_, dataStartOffset_); status != STATUS_OK) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s():%i error skipping header. err=%i!\n", "analyze", __LINE__, status);
  }
  if (!result_->has(PROP_DATA_END_OFFSET)) {
    findID3v1Tag();
  }
}

void AnalyzerAudioMp3::grantSeeking() {
  bool seekable = false;
  long long size = 0;
  if (strell_->getSeekable(seekable) == 0 && seekable && strell_->size(size) == 0 &&
      size > Info::MaximumHttpHeaderSize) {
    result_->grantSeeking();
  }
}

int AnalyzerAudioMp3::checkID3v2() {
  Id3v2Walk walk(*strell_, result_->embeddedPictures);
  if (!walk.readTagHeader()) {
    return 0;
  }
  // Stays added when the walk fails: the tag is there all the same.
  dataStartOffset_ += walk.tagLength();
  return walk.walkFrames(dataStartOffset_) ? 1 : 0;
}

bool AnalyzerAudioMp3::findID3v1Tag() {
  static const char* const name = "findID3v1Tag";
  long long size = 0;
  if (strell_->size(size) != 0) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): cannot determine file size\n", name);
    return false;
  }
  // kept: a file of exactly that size is looked at here, though nowhere else is it a real file
  if (size < Info::MaximumHttpHeaderSize) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): file to small for id3v1 tag\n", name);
    return false;
  }
  bool seekable = false;
  if (strell_->getSeekable(seekable) != 0 || !seekable) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): must be seekable for id3v1 tag\n", name);
    return false;
  }
  long long oldOffset = 0;
  if (strell_->tell(oldOffset) != 0) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): cannot determine old offset\n", name);
    return false;
  }
  static_assert(id3v1Size < static_cast<unsigned>(Info::MaximumHttpHeaderSize),
                "a file that is long enough to be looked at has room for the tag");
  if (const int status = strell_->seek(size - id3v1Size); status < 0) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): error seeking: %d\n", name, status);
    return false;
  }
  readTrailer(size);
  if (strell_->seek(oldOffset) != 0) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): cannot seek to old offset\n", name);
  }
  return true;
}

void AnalyzerAudioMp3::readTrailer(long long size) {
  unsigned char trailer[id3v1Size];
  unsigned int got = 0;
  std::vector<strell::IcyData> icy;
  if (strell_->readData(trailer, id3v1Size, got, icy) != 0 || got != id3v1Size) {
    return;
  }
  result_->dataEndOffset = size - 1;
  if (begins(trailer, "TAG")) {
    QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s(): found ID3v1 tag\n", "findID3v1Tag");
    result_->dataEndOffset -= id3v1Size;
  }
  result_->validProperties |= PROP_DATA_END_OFFSET;
}

int AnalyzerAudioMp3::scanMpeg() {
  static constexpr SyncPattern sync = {syncSize, {0xff, 0xe0, 0, 0}, {0xff, 0xe0, 0, 0}};
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s()\n", __func__);
  const unsigned limit = strell_->getDataCacheOffset() + maxScan;
  if (!scanForSync(*strell_, sync, limit, at(__func__, __LINE__))) {
    return 0;
  }
  const unsigned position = strell_->getDataCacheOffset();
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s() found at cache offset: %u (0x%02x) start at:%u \n", __func__, position,
             position, position);
  return 1;
}

int AnalyzerAudioMp3::checkMpeg() {
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s()\n", __func__);
  const unsigned start = strell_->getDataCacheOffset();
  const unsigned char* const header = readCached(*strell_, mpegFrameHeaderSize, at(__func__, __LINE__));
  if (header == nullptr) {
    return 0;
  }
  int bitrate = bitrateUnknown;
  int samplingFrequency = -1;
  int frameSize = -1;
  unsigned samplesPerFrame = 0;
  unsigned xingOffset = UINT32_MAX;
  if (checkMpegFrameHeader(header, bitrate, samplingFrequency, samplesPerFrame, frameSize, xingOffset) == 0) {
    strell_->setDataCacheOffset(start);
    return 0;
  }
  bitrate_ = bitrate;
  samplingFrequency_ = samplingFrequency;
  strell_->setDataCacheOffset(start + xingOffset);
  const int xing = checkXingHeader(samplesPerFrame);
  if (xing < 0) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): error parsing Xing header: %d\n", __func__, xing);
    strell_->setDataCacheOffset(start);
    return 0;
  }
  if (xing > 0) {
    return checkSecondHeader(start, frameSize, true);
  }
  strell_->setDataCacheOffset(start + vbriOffset);
  const int vbri = checkVbriHeader(samplesPerFrame);
  if (vbri < 0) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): error parsing VBRI header: %d\n", __func__, vbri);
    strell_->setDataCacheOffset(start);
    return 0;
  }
  if (vbri > 0) {
    return acceptWithVbri(start, frameSize);
  }
  estimateDuration();
  return checkSecondHeader(start, frameSize, false);
}

void AnalyzerAudioMp3::estimateDuration() {
  static constexpr int32_t assumedBitrate = 128;  // kbit/s, where the header tells none
  long long size = 0;
  if (strell_->size(size) != 0 || result_->has(PROP_DURATION) || size <= Info::MaximumHttpHeaderSize) {
    return;
  }
  const int32_t bitrate = bitrate_ == bitrateUnknown || bitrate_ == mpegBitrateFree ? assumedBitrate : bitrate_;
  // Signed: a tag longer than the file gives a negative duration.
  duration_ = {wrappingProduct(size - dataStartOffset_, 8) / (1000LL * bitrate), 0};
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s() vbi duration_=[%llds+%06dus]fileSize=%lli, dataStartOffset=%lli br=%u\n",
             "checkMpeg", static_cast<long long>(duration_.seconds), duration_.microseconds, size,
             static_cast<long long>(dataStartOffset_), static_cast<unsigned>(bitrate));
}

int AnalyzerAudioMp3::acceptWithVbri(unsigned start, int frameSize) {
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s(): secondHeaderOffset=%u thisFrameSize=%i\n", "checkMpeg",
             start + static_cast<unsigned>(frameSize), frameSize);
  if (bitrate_ == bitrateUnknown) {
    return rejectMissingBitrate(start);
  }
  strell_->setDataCacheOffset(start);
  fillResult(frameSize);
  return 1;
}

int AnalyzerAudioMp3::checkSecondHeader(unsigned start, int frameSize, bool hasInfoHeader) {
  static const char* const name = "checkMpeg";
  const unsigned position = start + static_cast<unsigned>(frameSize);
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s(): secondHeaderOffset=%u thisFrameSize=%i\n", name, position, frameSize);
  strell_->setDataCacheOffset(position);
  const unsigned char* const header = readCached(*strell_, syncSize, at(name, __LINE__));
  if (header == nullptr) {
    // kept: the scan goes on from here and not from `start`, so a stream that breaks off is given up soon
    return 0;
  }
  if (!isMpegSync(header)) {
    QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s(): no header at pos=%i [%02x][%02x]\n", name, static_cast<int>(position),
               static_cast<unsigned>(header[0]), static_cast<unsigned>(header[1]));
    strell_->setDataCacheOffset(start);
    return 0;
  }
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s(): match secondHeader\n", name);
  if (bitrate_ == bitrateUnknown) {
    return rejectMissingBitrate(start);
  }
  if (hasInfoHeader) {
    // The first frame holds no audio, so the audio data begins with the second.
    QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s() found extra info\n", name);
    strell_->setDataCacheOffset(position);
  } else {
    strell_->setDataCacheOffset(start);
  }
  fillResult(frameSize);
  return 1;
}

int AnalyzerAudioMp3::rejectMissingBitrate(unsigned start) {
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s() missing bitrate\n", "checkMpeg");
  strell_->setDataCacheOffset(start);
  return 0;
}

void AnalyzerAudioMp3::fillResult(int frameSize) {
  if (samplingFrequency_ != -1) {
    result_->samplingFrequency = samplingFrequency_;
    result_->validProperties |= PROP_SAMPLING_FREQUENCY;
  }
  if (duration_.microseconds != microsecondsUnknown) {
    storeDuration();
  }
  result_->mediaType = MEDIA_TYPE_MP3;
  if (bitrate_ != bitrateUnknown) {
    storeBitrate();
  }
  result_->frameSize = frameSize;
  result_->validProperties |= PROP_FRAME_SIZE | PROP_MEDIA_TYPE;
}

void AnalyzerAudioMp3::storeDuration() {
  result_->duration = duration_;
  result_->validProperties |= PROP_DURATION;
}

void AnalyzerAudioMp3::storeBitrate() {
  result_->bitrate = bitrate_;
  result_->validProperties |= PROP_BITRATE;
}

int AnalyzerAudioMp3::checkXingHeader(unsigned samplesPerFrame) {
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s()\n", __func__);
  const unsigned start = strell_->getDataCacheOffset();
  const unsigned char* const tag = readCached(*strell_, 4, at(__func__, __LINE__));
  if (tag == nullptr || (!begins(tag, "Xing") && !begins(tag, "Info"))) {
    return 0;
  }
  QUORIN_LOG(Info, "AnalyzerAudioMp3::%s(): found Xing header\n", __func__);
  const unsigned char* const flagBytes = readCached(*strell_, 4, at(__func__, __LINE__));
  if (flagBytes == nullptr) {
    return 0;
  }
  const uint32_t flags = bigEndian32(flagBytes);
  bool foundDuration = false;
  bool foundBitrate = false;
  if ((flags & XingFrames) != 0 && !readXingCounts(samplesPerFrame, flags, foundDuration, foundBitrate)) {
    return 0;
  }
  strell_->setDataCacheOffset(start + xingLength(flags));
  const int lame = checkLameHeader();
  if (lame < 0) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): error parsing Lame header: %d\n", __func__, lame);
    return lame;
  }
  if (foundDuration) {
    storeDuration();
  }
  if (foundBitrate) {
    // kept: by now the LAME extension may have put its own bitrate in place of the computed one, and that is what
    // players show
    storeBitrate();
  }
  return static_cast<int>(xingSize) + lame;
}

bool AnalyzerAudioMp3::readXingCounts(unsigned samplesPerFrame, uint32_t flags, bool& foundDuration,
                                      bool& foundBitrate) {
  static const char* const name = "checkXingHeader";
  const unsigned char* const frameBytes = readCached(*strell_, 4, at(name, __LINE__));
  if (frameBytes == nullptr) {
    return false;
  }
  const uint32_t frames = bigEndian32(frameBytes);
  // Stays when the header breaks off behind it: the frame then counts as audio, and its duration is known all the same.
  foundDuration = computeDuration(samplesPerFrame, frames);
  if (foundDuration) {
    QUORIN_LOG(Debug,
               "AnalyzerAudioMp3::%s() xing duration=[%llds+%06dus]numFrames=%u, samplesPerFrame=%u "
               "samplingFrequency=%i\n",
               name, static_cast<long long>(duration_.seconds), duration_.microseconds, frames, samplesPerFrame,
               samplingFrequency_);
  }
  if ((flags & XingBytes) == 0) {
    return true;
  }
  const unsigned char* const byteBytes = readCached(*strell_, 4, at(name, __LINE__));
  if (byteBytes == nullptr) {
    return false;
  }
  foundBitrate = (foundDuration || result_->has(PROP_DURATION)) && computeBitrate(bigEndian32(byteBytes));
  return true;
}

int AnalyzerAudioMp3::checkVbriHeader(unsigned samplesPerFrame) {
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s()\n", __func__);
  const unsigned char* const header = readCached(*strell_, vbriSize, at(__func__, __LINE__));
  if (header == nullptr || !begins(header, "VBRI")) {
    return 0;
  }
  QUORIN_LOG(Info, "AnalyzerAudioMp3::%s(): found VBRI header\n", __func__);
  const uint32_t bytes = bigEndian32(header + 10);
  const uint32_t frames = bigEndian32(header + 14);
  if (computeDuration(samplesPerFrame, frames)) {
    QUORIN_LOG(Debug,
               "AnalyzerAudioMp3::%s() vbi duration=[%llds+%06dus]numFrames=%u, samplesPerFrame=%u "
               "samplingFrequency=%i\n",
               __func__, static_cast<long long>(duration_.seconds), duration_.microseconds, frames, samplesPerFrame,
               samplingFrequency_);
    storeDuration();
  }
  if (result_->has(PROP_DURATION) && computeBitrate(bytes)) {
    storeBitrate();
  }
  return static_cast<int>(vbriSize);
}

int AnalyzerAudioMp3::checkLameHeader() {
  static constexpr unsigned methodOffset = 9;    // low four bits: bitrate method
  static constexpr unsigned bitrateOffset = 20;  // kbit/s
  static constexpr unsigned constantBitrate = 1;
  static constexpr unsigned averageBitrate = 2;
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s()\n", __func__);
  const unsigned char* const header = readCached(*strell_, lameSize, at(__func__, __LINE__));
  if (header == nullptr || !begins(header, "LAME")) {
    return 0;
  }
  QUORIN_LOG(Info, "AnalyzerAudioMp3::%s(): found LAME header\n", __func__);
  const unsigned method = bitField(header[methodOffset], 0, 4);
  if (method == constantBitrate || method == averageBitrate) {
    bitrate_ = header[bitrateOffset];
    storeBitrate();
  }
  return static_cast<int>(lameSize);
}

bool AnalyzerAudioMp3::computeDuration(unsigned samplesPerFrame, uint32_t frames) {
  if (frames == 0 || samplingFrequency_ == -1) {
    return false;
  }
  // kept: the product wraps in 32 bits, so a stream of 2^32 samples and more reads short
  const uint32_t samples = samplesPerFrame * frames;
  duration_ = {samples / static_cast<uint32_t>(samplingFrequency_), 0};
  return true;
}

bool AnalyzerAudioMp3::computeBitrate(uint32_t bytes) {
  if (bytes == 0 || duration_.seconds == 0) {
    return false;
  }
  const uint32_t bits = bytes * 8;  // kept: wraps from 512 MiB on
  bitrate_ = static_cast<int32_t>(bits / duration_.seconds / 1000);
  return true;
}

void AnalyzerAudioMp3::getStringAsUtf8(char* destination, int destinationLength, const unsigned char* source,
                                       int sourceLength) {
  id3v2TextAsUtf8(destination, destinationLength, source, sourceLength);
}

}  // namespace zu::md::common::quorin
