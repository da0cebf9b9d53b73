#include "formats/mpeg_frame_header.h"

#include <cstdint>

#include "framework/byte_order.h"
#include "framework/log.h"

namespace zu::md::common::quorin {

namespace {

/// What stands in the four bytes, decoded as far as a subtraction goes.
struct Fields {
  unsigned version;  ///< 1, 2: MPEG-1, MPEG-2; 3: reserved; 4: MPEG-2.5
  unsigned layer;    ///< 1 to 3: Layer I to III; 4: reserved
  unsigned bitrateIndex;
  unsigned sampleRateIndex;
  unsigned padding;
  unsigned channelMode;  ///< 0 stereo, 1 joint stereo, 2 dual channel, 3 single channel
};

constexpr unsigned reservedVersion = 3;
constexpr unsigned mpeg25 = 4;
constexpr unsigned reservedLayer = 4;

Fields decodeFields(const unsigned char* header) {
  return {4 - bitField(header[1], 3, 2), 4 - bitField(header[1], 1, 2), bitField(header[2], 4, 4),
          bitField(header[2], 2, 2),     bitField(header[2], 1, 1),     bitField(header[3], 6, 2)};
}

/// The side information lies between the frame header and the Xing header; it is shorter for one channel.
unsigned xingOffsetOf(const Fields& fields) {
  // kept: dual channel counts as one channel here, as it always did for the files in the field
  const bool shortSideInformation = (fields.channelMode & 2U) != 0;
  if (fields.version == 1) {
    return shortSideInformation ? 21 : 36;
  }
  return shortSideInformation ? 13 : 21;
}

unsigned samplesPerFrameOf(const Fields& fields) {
  if (fields.layer == 1) {
    return 384;
  }
  return fields.layer == 2 || fields.version == 1 ? 1152 : 576;
}

/// kbit/s by bitrate index 1 to 14: ISO/IEC 11172-3 for MPEG-1, ISO/IEC 13818-3 for MPEG-2 (and MPEG-2.5).
int bitrateOf(const Fields& fields) {
  static constexpr int16_t mpeg1[3][14] = {{32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
                                           {32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
                                           {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}};
  static constexpr int16_t mpeg2LayerI[14] = {32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256};
  static constexpr int16_t mpeg2LayerIIAndIII[14] = {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
  if (fields.bitrateIndex == 0) {
    return mpegBitrateFree;
  }
  if (fields.bitrateIndex == 15) {
    return mpegBitrateBad;
  }
  const unsigned index = fields.bitrateIndex - 1;
  if (fields.version == 1) {
    return mpeg1[fields.layer - 1][index];
  }
  return fields.layer == 1 ? mpeg2LayerI[index] : mpeg2LayerIIAndIII[index];
}

unsigned baseFrequencyOf(const Fields& fields) {
  // kept: the reserved index is not refused, streams that carry it play as 44100 Hz
  static constexpr unsigned base[4] = {44100, 48000, 32000, 44100};
  return base[fields.sampleRateIndex];
}

unsigned frameSizeOf(const Fields& fields, int bitrate) {
  static constexpr unsigned assumedBitrate = 128;  // kbit/s, where the header tells none
  const unsigned kilobits =
      bitrate == mpegBitrateFree || bitrate == mpegBitrateBad ? assumedBitrate : static_cast<unsigned>(bitrate);
  const unsigned base = baseFrequencyOf(fields);
  const unsigned divisor = fields.version == mpeg25 ? base / 2 : base;
  if (fields.layer == 1) {
    return (12000 * kilobits / divisor + fields.padding) * 4;
  }
  // kept: for Layers I and II of MPEG-2 and MPEG-2.5 this is half the standard's length; players count on the number
  return 144000 * kilobits / divisor + fields.padding;
}

}  // namespace

int checkMpegFrameHeader(const unsigned char* header, int& bitrate, int& samplingFrequency, unsigned& samplesPerFrame,
                         int& frameSize, unsigned& xingOffset) {
  static const char* const name = "checkFrameHeader";
  if (!isMpegSync(header)) {
    return 0;
  }
  const Fields fields = decodeFields(header);
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s(): found MPEG header\n", name);
  QUORIN_LOG(Debug,
             "AnalyzerAudioMp3::%s() version=%i, layer=%i, bitrateIdx=%i, mpgSamplerate=%i, hasPadding=%i, "
             "stereoMode=%i\n",
             name, static_cast<int>(fields.version), static_cast<int>(fields.layer),
             static_cast<int>(fields.bitrateIndex), static_cast<int>(fields.sampleRateIndex),
             static_cast<int>(fields.padding), static_cast<int>(fields.channelMode));
  if (fields.version == reservedVersion) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): found other MPEG, FIXME!\n", name);
    return 0;
  }
  xingOffset = xingOffsetOf(fields);
  if (fields.layer == reservedLayer) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s(): unknown mpeg layer no. %u\n", name, fields.layer);
    return 0;
  }
  samplesPerFrame = samplesPerFrameOf(fields);
  bitrate = bitrateOf(fields);
  samplingFrequency = static_cast<int>(baseFrequencyOf(fields) / fields.version);
  frameSize = static_cast<int>(frameSizeOf(fields, bitrate));
  return 1;
}

}  // namespace zu::md::common::quorin
