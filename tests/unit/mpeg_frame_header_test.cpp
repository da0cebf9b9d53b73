#include "formats/mpeg_frame_header.h"

#include <gtest/gtest.h>

#include "quorin/analyzer.h"
#include "support/log_capture.h"
#include "support/mpeg_bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr int untouched = -77;

struct Decoded {
  int accepted = untouched;
  int bitrate = untouched;
  int samplingFrequency = untouched;
  unsigned samplesPerFrame = 7777;
  int frameSize = untouched;
  unsigned xingOffset = 7777;
};

Decoded decode(const Bytes& header) {
  Decoded out;
  out.accepted = Analyzer::checkFrameHeader(header.data(), out.bitrate, out.samplingFrequency, out.samplesPerFrame,
                                            out.frameSize, out.xingOffset);
  return out;
}

Decoded decode(const MpegHeader& header) { return decode(header.bytes()); }

void expectOnlyXingOffsetWritten(const Decoded& decoded, unsigned xingOffset) {
  EXPECT_EQ(decoded.accepted, 0);
  EXPECT_EQ(decoded.bitrate, untouched);
  EXPECT_EQ(decoded.samplingFrequency, untouched);
  EXPECT_EQ(decoded.samplesPerFrame, 7777U);
  EXPECT_EQ(decoded.frameSize, untouched);
  EXPECT_EQ(decoded.xingOffset, xingOffset);
}

TEST(MpegFrameHeader, Mpeg1LayerIIIAt128Kilobits) {
  const Decoded plain = decode(Bytes{0xff, 0xfb, 0x90, 0x00});
  EXPECT_EQ(plain.accepted, 1);
  EXPECT_EQ(plain.bitrate, 128);
  EXPECT_EQ(plain.samplingFrequency, 44100);
  EXPECT_EQ(plain.samplesPerFrame, 1152U);
  EXPECT_EQ(plain.frameSize, 417);
  EXPECT_EQ(plain.xingOffset, 36U);
  EXPECT_EQ(decode(Bytes{0xff, 0xfb, 0x92, 0x00}).frameSize, 418);
}

TEST(MpegFrameHeader, Mpeg2LayerIIIAt64Kilobits) {
  const Decoded decoded = decode(MpegHeader{Mpeg2, LayerIII, 8});
  EXPECT_EQ(decoded.bitrate, 64);
  EXPECT_EQ(decoded.samplingFrequency, 22050);
  EXPECT_EQ(decoded.frameSize, 208);
  EXPECT_EQ(decoded.samplesPerFrame, 576U);
  EXPECT_EQ(decoded.xingOffset, 21U);
}

TEST(MpegFrameHeader, Mpeg25LayerIIIAt64Kilobits) {
  const Decoded decoded = decode(MpegHeader{Mpeg25, LayerIII, 8});
  EXPECT_EQ(decoded.bitrate, 64);
  EXPECT_EQ(decoded.samplingFrequency, 11025);
  EXPECT_EQ(decoded.frameSize, 417);
}

TEST(MpegFrameHeader, ForbiddenBitrateIndexIsAcceptedAndSizedAs128Kilobits) {
  const Decoded decoded = decode(MpegHeader{Mpeg1, LayerIII, 15});
  EXPECT_EQ(decoded.accepted, 1);
  EXPECT_EQ(decoded.bitrate, -1);
  EXPECT_EQ(decoded.frameSize, 417);
}

TEST(MpegFrameHeader, FreeFormatIsBitrateZeroAndSizedAs128Kilobits) {
  const Decoded decoded = decode(MpegHeader{Mpeg1, LayerIII, 0});
  EXPECT_EQ(decoded.accepted, 1);
  EXPECT_EQ(decoded.bitrate, 0);
  EXPECT_EQ(decoded.frameSize, 417);
}

TEST(MpegFrameHeader, ReservedSampleRateIndexReadsAs44100) {
  EXPECT_EQ(decode(MpegHeader{Mpeg1, LayerIII, 9, 3}).samplingFrequency, 44100);
  EXPECT_EQ(decode(MpegHeader{Mpeg2, LayerIII, 9, 3}).samplingFrequency, 22050);
  EXPECT_EQ(decode(MpegHeader{Mpeg25, LayerIII, 9, 3}).samplingFrequency, 11025);
}

TEST(MpegFrameHeader, DualChannelTakesTheXingOffsetOfOneChannel) {
  const auto offset = [](MpegVersion version, MpegChannels channels) {
    return decode(MpegHeader{version, LayerIII, 9, 0, false, channels}).xingOffset;
  };
  EXPECT_EQ(offset(Mpeg1, Stereo), 36U);
  EXPECT_EQ(offset(Mpeg1, JointStereo), 36U);
  EXPECT_EQ(offset(Mpeg1, DualChannel), 21U);
  EXPECT_EQ(offset(Mpeg1, SingleChannel), 21U);
  for (const MpegVersion version : {Mpeg2, Mpeg25}) {
    EXPECT_EQ(offset(version, Stereo), 21U);
    EXPECT_EQ(offset(version, JointStereo), 21U);
    EXPECT_EQ(offset(version, DualChannel), 13U);
    EXPECT_EQ(offset(version, SingleChannel), 13U);
  }
}

TEST(MpegFrameHeader, LowSampleRateLayersIAndIIAreSizedAtHalfTheStandardLength) {
  EXPECT_EQ(decode(MpegHeader{Mpeg2, LayerII, 8}).frameSize, 208);  // the standard: 417
  EXPECT_EQ(decode(MpegHeader{Mpeg25, LayerII, 8}).frameSize, 417);
  EXPECT_EQ(decode(MpegHeader{Mpeg2, LayerI, 8, 1}).frameSize, 128);  // 12000 * 128 / 48000 * 4
  EXPECT_EQ(decode(MpegHeader{Mpeg1, LayerI, 4, 1, true}).frameSize, 132);
}

TEST(MpegFrameHeader, EveryHeaderDecodesByTheTables) {
  for (const MpegVersion version : {Mpeg1, Mpeg2, Mpeg25}) {
    for (const MpegLayer layer : {LayerI, LayerII, LayerIII}) {
      for (unsigned bits = 0; bits < 16 * 4 * 2 * 4; ++bits) {
        const MpegHeader header = {
            version, layer, bits & 15, (bits >> 4) & 3, ((bits >> 6) & 1) != 0, MpegChannels((bits >> 7) & 3)};
        const Decoded decoded = decode(header);
        ASSERT_EQ(decoded.accepted, 1);
        const int kilobits = header.bitrateIndex == 15 ? -1 : static_cast<int>(mpegKilobits(header));
        EXPECT_EQ(decoded.bitrate, kilobits);
        EXPECT_EQ(decoded.samplingFrequency, static_cast<int>(mpegSampleRate(header)));
        MpegHeader sized = header;
        if (version != Mpeg1 && layer != LayerIII) {
          // Half the standard's length before padding, which is the length at the doubled rate.
          const unsigned rate = 2 * mpegSampleRate(header);
          const unsigned known = mpegKilobits(header) == 0 ? 128 : mpegKilobits(header);
          const unsigned padding = header.padding ? 1 : 0;
          EXPECT_EQ(decoded.frameSize, static_cast<int>(layer == LayerI ? (12000 * known / rate + padding) * 4
                                                                        : 144000 * known / rate + padding));
        } else {
          EXPECT_EQ(decoded.frameSize, static_cast<int>(mpegFrameSize(sized)));
        }
        const unsigned samples = layer == LayerI ? 384 : layer == LayerIII && version != Mpeg1 ? 576 : 1152;
        EXPECT_EQ(decoded.samplesPerFrame, samples);
      }
    }
  }
}

TEST(MpegFrameHeader, BitsWithoutMeaningHereChangeNothing) {
  const Decoded expected = decode(Bytes{0xff, 0xfb, 0x94, 0x40});
  for (unsigned bits = 0; bits < 256; ++bits) {
    const auto protection = static_cast<unsigned char>(bits & 1U);
    const auto privateBit = static_cast<unsigned char>((bits >> 1) & 1U);
    const auto rest = static_cast<unsigned char>(bits >> 2);
    const Decoded decoded =
        decode(Bytes{0xff, static_cast<unsigned char>(0xfa | protection), static_cast<unsigned char>(0x94 | privateBit),
                     static_cast<unsigned char>(0x40 | rest)});
    EXPECT_EQ(decoded.accepted, 1);
    EXPECT_EQ(decoded.frameSize, expected.frameSize);
    EXPECT_EQ(decoded.xingOffset, expected.xingOffset);
    EXPECT_EQ(decoded.samplingFrequency, 48000);
  }
}

TEST(MpegFrameHeader, AnAcceptedHeaderIsLogged) {
  const LogCapture log;
  decode(MpegHeader{Mpeg25, LayerII, 14, 2, true, SingleChannel});
  EXPECT_EQ(log.dump(),
            "5000 AnalyzerAudioMp3::checkFrameHeader(): found MPEG header\n"
            "5000 AnalyzerAudioMp3::checkFrameHeader() version=4, layer=2, bitrateIdx=14, mpgSamplerate=2, "
            "hasPadding=1, stereoMode=3\n");
}

TEST(MpegFrameHeader, BytesWithoutSyncAreDeclinedInSilence) {
  const LogCapture log;
  expectOnlyXingOffsetWritten(decode(Bytes{0xfe, 0xfb, 0x90, 0x00}), 7777);
  expectOnlyXingOffsetWritten(decode(Bytes{0xff, 0xdb, 0x90, 0x00}), 7777);
  expectOnlyXingOffsetWritten(decode(Bytes{0xff, 0x7b, 0x90, 0x00}), 7777);
  EXPECT_EQ(log.dump(), "");
}

TEST(MpegFrameHeader, ReservedVersionIsDeclinedBeforeAnythingIsWritten) {
  const LogCapture log;
  expectOnlyXingOffsetWritten(decode(MpegHeader{MpegReservedVersion, LayerIII}), 7777);
  EXPECT_EQ(log.dump(),
            "5000 AnalyzerAudioMp3::checkFrameHeader(): found MPEG header\n"
            "5000 AnalyzerAudioMp3::checkFrameHeader() version=3, layer=3, bitrateIdx=9, mpgSamplerate=0, "
            "hasPadding=0, stereoMode=0\n"
            "3000 AnalyzerAudioMp3::checkFrameHeader(): found other MPEG, FIXME!\n");
}

TEST(MpegFrameHeader, ReservedLayerIsDeclinedAfterTheXingOffsetIsWritten) {
  const LogCapture log;
  expectOnlyXingOffsetWritten(decode(MpegHeader{Mpeg1, ReservedLayer}), 36);
  EXPECT_EQ(log.dump(),
            "5000 AnalyzerAudioMp3::checkFrameHeader(): found MPEG header\n"
            "5000 AnalyzerAudioMp3::checkFrameHeader() version=1, layer=4, bitrateIdx=9, mpgSamplerate=0, "
            "hasPadding=0, stereoMode=0\n"
            "3000 AnalyzerAudioMp3::checkFrameHeader(): unknown mpeg layer no. 4\n");
}

}  // namespace
}  // namespace zu::md::common::quorin
