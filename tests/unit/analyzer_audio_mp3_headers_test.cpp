// The information headers of the first frame: Xing and "Info" with LAME extension, VBRI.

#include <gtest/gtest.h>

#include "formats/analyzer_audio_mp3.h"
#include "mp3_analysis.h"
#include "support/mpeg_bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

const MpegHeader forbiddenBitrate = {Mpeg1, LayerIII, 15};

/// A first frame that holds `info` where a Xing header lies, and 60 plain frames.
Bytes withXing(const Bytes& info, const MpegHeader& first = MpegHeader()) {
  return concat({infoFrame(info, xingOffsetStereo, first), mpegFrames(60)});
}

Bytes withVbri(uint32_t byteCount, uint32_t frames, const MpegHeader& first = MpegHeader()) {
  return concat({infoFrame(vbriHeader(byteCount, frames), vbriOffset, first), mpegFrames(60)});
}

TEST(AnalyzerAudioMp3Headers, InfoHeaderTellsDurationAndBitrate) {
  const Mp3Analysis analysis(withXing(XingHeader{"Info", 0xf, 5000, 2000000}.bytes()));
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("duration"), "130 0");
  EXPECT_EQ(analysis.value("bitrate"), "123000");
  EXPECT_EQ(analysis.value("data_start"), "417");
  EXPECT_EQ(analysis.value("frame_size"), "417");
}

TEST(AnalyzerAudioMp3Headers, LogOfAXingHeaderWithLameExtension) {
  const Mp3Analysis analysis(withXing(concat({XingHeader{"Xing", 0xf, 5000, 2000000}.bytes(), lameExtension(4, 200)})));
  EXPECT_TRUE(
      analysis.logged("5000 AnalyzerAudioMp3::checkXingHeader()\n"
                      "4000 AnalyzerAudioMp3::checkXingHeader(): found Xing header\n"
                      "5000 AnalyzerAudioMp3::checkXingHeader() xing duration=[130s+000000us]numFrames=5000, "
                      "samplesPerFrame=1152 samplingFrequency=44100\n"
                      "5000 AnalyzerAudioMp3::checkLameHeader()\n"
                      "4000 AnalyzerAudioMp3::checkLameHeader(): found LAME header\n"
                      "5000 AnalyzerAudioMp3::checkMpeg(): secondHeaderOffset=417 thisFrameSize=417\n"
                      "5000 AnalyzerAudioMp3::checkMpeg(): match secondHeader\n"
                      "5000 AnalyzerAudioMp3::checkMpeg() found extra info\n"
                      "5000 AnalyzerBase::skipData():# to offset 417.\n"
                      "5000 AnalyzerBase::skipData():# skipping 417 bytes."))
      << analysis.log;
  EXPECT_EQ(analysis.value("bitrate"), "123000");  // a variable-bitrate method says nothing about it
}

TEST(AnalyzerAudioMp3Headers, LameExtensionFollowsTheLastFieldThatIsPresent) {
  for (uint32_t flags = 0; flags < 16; ++flags) {
    const Bytes xing = XingHeader{"Xing", flags, 5000, 2000000}.bytes();
    EXPECT_EQ(xing.size(), 8 + ((flags & 1) != 0 ? 4U : 0U) + ((flags & 2) != 0 ? 4U : 0U) +
                               ((flags & 4) != 0 ? 100U : 0U) + ((flags & 8) != 0 ? 4U : 0U));
    const Mp3Analysis analysis(withXing(concat({xing, lameExtension(1, 192)})));
    EXPECT_TRUE(analysis.logged("4000 AnalyzerAudioMp3::checkLameHeader(): found LAME header")) << flags;
    EXPECT_EQ(analysis.value("bitrate"), "192000");
  }
}

TEST(AnalyzerAudioMp3Headers, OtherFlagBitsMeanNothing) {
  const Mp3Analysis analysis(withXing(concat({XingHeader{"Xing", 0xfffffff1, 5000}.bytes(), lameExtension(1, 192)})));
  EXPECT_EQ(analysis.value("duration"), "130 0");
  EXPECT_EQ(analysis.value("bitrate"), "192000");
}

TEST(AnalyzerAudioMp3Headers, ConstantAndAverageBitrateOfLameWinOverTheByteCount) {
  for (unsigned method = 0; method < 16; ++method) {
    const Bytes info = concat({XingHeader{"Info", 0xf, 5000, 2000000}.bytes(), lameExtension(0xa0 | method, 192)});
    EXPECT_EQ(Mp3Analysis(withXing(info)).value("bitrate"), method == 1 || method == 2 ? "192000" : "123000");
  }
}

TEST(AnalyzerAudioMp3Headers, LameTellsTheBitrateWithoutAnyCount) {
  const Mp3Analysis analysis(withXing(concat({XingHeader{"Xing", 0}.bytes(), lameExtension(1, 192)})));
  EXPECT_EQ(analysis.value("bitrate"), "192000");
  EXPECT_EQ(analysis.value("duration"), "");  // kept: with an information header nothing is estimated
}

TEST(AnalyzerAudioMp3Headers, OtherEncodersAreNoLame) {
  Bytes extension = lameExtension(1, 192);
  extension[3] = 'F';
  const Mp3Analysis analysis(withXing(concat({XingHeader{"Info", 0xf, 5000, 2000000}.bytes(), extension})));
  EXPECT_FALSE(analysis.logged("4000 AnalyzerAudioMp3::checkLameHeader(): found LAME header"));
  EXPECT_EQ(analysis.value("bitrate"), "123000");
}

TEST(AnalyzerAudioMp3Headers, BytesWithoutFramesTellNothing) {
  const Mp3Analysis analysis(withXing(XingHeader{"Xing", 0x2, 0, 2000000}.bytes()));
  EXPECT_EQ(analysis.value("duration"), "");
  EXPECT_EQ(analysis.value("bitrate"), "128000");  // the frame's own
  EXPECT_EQ(analysis.value("data_start"), "417");
}

TEST(AnalyzerAudioMp3Headers, FramesWithoutBytesTellTheDurationAlone) {
  const Mp3Analysis analysis(withXing(XingHeader{"Xing", 0x1, 5000}.bytes()));
  EXPECT_EQ(analysis.value("duration"), "130 0");
  EXPECT_EQ(analysis.value("bitrate"), "128000");
}

TEST(AnalyzerAudioMp3Headers, NoFramesTellNoDurationAndNoBitrate) {
  const Mp3Analysis analysis(withXing(XingHeader{"Xing", 0x3, 0, 2000000}.bytes()));
  EXPECT_EQ(analysis.value("duration"), "");
  EXPECT_EQ(analysis.value("bitrate"), "128000");
}

TEST(AnalyzerAudioMp3Headers, NoBytesTellNoBitrate) {
  const Mp3Analysis analysis(withXing(XingHeader{"Xing", 0x3, 5000, 0}.bytes()));
  EXPECT_EQ(analysis.value("duration"), "130 0");
  EXPECT_EQ(analysis.value("bitrate"), "128000");
}

TEST(AnalyzerAudioMp3Headers, ADurationOfZeroSecondsTellsNoBitrate) {
  const Mp3Analysis xing(withXing(XingHeader{"Xing", 0x3, 10, 4000}.bytes()));
  EXPECT_EQ(xing.value("duration"), "0 0");
  EXPECT_EQ(xing.value("bitrate"), "128000");
  const Mp3Analysis vbri(withVbri(4000, 10));
  EXPECT_EQ(vbri.value("duration"), "0 0");
  EXPECT_EQ(vbri.value("bitrate"), "128000");
}

TEST(AnalyzerAudioMp3Headers, ProductOfFramesAndSamplesWrapsIn32Bits) {
  // 4000000 * 1152 - 2^32 = 313032704 samples
  EXPECT_EQ(Mp3Analysis(withXing(XingHeader{"Xing", 0x1, 4000000}.bytes())).value("duration"), "7098 0");
  EXPECT_EQ(Mp3Analysis(withVbri(0, 4000000)).value("duration"), "7098 0");
  // 3728270 * 1152 = 2^32 - 256: the longest that does not wrap, then 896 samples
  EXPECT_EQ(Mp3Analysis(withXing(XingHeader{"Xing", 0x1, 3728270}.bytes())).value("duration"), "97391 0");
  EXPECT_EQ(Mp3Analysis(withXing(XingHeader{"Xing", 0x1, 3728271}.bytes())).value("duration"), "0 0");
  EXPECT_EQ(Mp3Analysis(withXing(XingHeader{"Xing", 0x1, 0xffffffff}.bytes())).value("duration"), "97391 0");
}

TEST(AnalyzerAudioMp3Headers, ProductOfBytesAnd8WrapsIn32Bits) {
  const auto bitrate = [](uint32_t byteCount) {
    return Mp3Analysis(withXing(XingHeader{"Xing", 0x3, 39, byteCount}.bytes())).value("bitrate");
  };
  // 39 frames: 1 second
  EXPECT_EQ(bitrate(0x1fffffff), "-296");  // 4294967 kbit/s in bit/s, which wraps once more
  EXPECT_EQ(bitrate(0x20000000), "0");
  EXPECT_EQ(bitrate(0x20000000 + 16000), "128000");
  EXPECT_EQ(Mp3Analysis(withVbri(0x20000000 + 16000, 39)).value("bitrate"), "128000");
}

TEST(AnalyzerAudioMp3Headers, BitrateIsTruncatedAtEachStep) {
  // 999 bytes in 1 s: 7992 bit/s, 7 kbit/s
  EXPECT_EQ(Mp3Analysis(withXing(XingHeader{"Xing", 0x3, 39, 999}.bytes())).value("bitrate"), "7000");
  // 124 bytes: 992 bit/s, 0 kbit/s, which is a known bitrate all the same
  EXPECT_EQ(Mp3Analysis(withXing(XingHeader{"Xing", 0x3, 39, 124}.bytes())).value("bitrate"), "0");
}

TEST(AnalyzerAudioMp3Headers, AHeaderSuppliesTheBitrateOfAForbiddenIndex) {
  EXPECT_EQ(Mp3Analysis(withXing(XingHeader{"Xing", 0x3, 5000, 2000000}.bytes(), forbiddenBitrate)).value("bitrate"),
            "123000");
  EXPECT_EQ(Mp3Analysis(withXing(concat({XingHeader{"Xing", 0}.bytes(), lameExtension(2, 96)}), forbiddenBitrate))
                .value("bitrate"),
            "96000");
  EXPECT_EQ(Mp3Analysis(withVbri(2000000, 5000, forbiddenBitrate)).value("bitrate"), "123000");
}

TEST(AnalyzerAudioMp3Headers, AForbiddenIndexStaysMissingWhenTheHeaderTellsNoBitrate) {
  const Mp3Analysis xing(concat({infoFrame(XingHeader{"Xing", 0x1, 5000}.bytes(), xingOffsetStereo, forbiddenBitrate),
                                 mpegFrames(60, forbiddenBitrate)}));
  EXPECT_TRUE(xing.logged("5000 AnalyzerAudioMp3::checkMpeg() missing bitrate"));
  const Mp3Analysis vbri(withVbri(0, 5000, forbiddenBitrate));
  EXPECT_TRUE(
      vbri.logged("5000 AnalyzerAudioMp3::checkMpeg(): secondHeaderOffset=417 thisFrameSize=417\n"
                  "5000 AnalyzerAudioMp3::checkMpeg() missing bitrate\n"
                  "4000 AnalyzerAudioMp3::analyze(): analyzing MPEG not successfull"))
      << vbri.log;
}

TEST(AnalyzerAudioMp3Headers, WhatARejectedCandidateFoundOutStays) {
  // The first frame has no bitrate and is passed over; its duration and pictures of the tag remain in the answer.
  const Bytes lone = infoFrame(vbriHeader(0, 5000), vbriOffset, forbiddenBitrate);
  const Mp3Analysis analysis(concat({lone, mpegFrames(60)}));
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("data_start"), "417");
  EXPECT_EQ(analysis.value("duration"), "130 0");
  EXPECT_FALSE(analysis.logged("vbi duration_="));
}

TEST(AnalyzerAudioMp3Headers, ABitrateOfARejectedCandidateDoesNotAcceptIt) {
  const Bytes lame = infoFrame(concat({XingHeader{"Xing", 0}.bytes(), lameExtension(1, 192)}));
  const Mp3Analysis analysis(concat({lame, filler(1), mpegFrames(60)}));  // no frame where the second should begin
  EXPECT_EQ(analysis.value("data_start"), "418");
  EXPECT_EQ(analysis.value("bitrate"), "128000");
}

TEST(AnalyzerAudioMp3Headers, ADurationOfARejectedCandidateServesTheNextForItsBitrate) {
  const Bytes first = infoFrame(vbriHeader(0, 5000), vbriOffset, forbiddenBitrate);
  const Bytes second = infoFrame(XingHeader{"Xing", 0x3, 0, 2000000}.bytes());
  const Mp3Analysis analysis(concat({first, second, mpegFrames(60)}));
  EXPECT_EQ(analysis.value("data_start"), "834");
  EXPECT_EQ(analysis.value("duration"), "130 0");
  EXPECT_EQ(analysis.value("bitrate"), "123000");
}

TEST(AnalyzerAudioMp3Headers, XingLiesWhereTheChannelModeSays) {
  const struct {
    MpegHeader header;
    size_t offset;
  } cases[] = {
      {{Mpeg1, LayerIII, 9, 0, false, Stereo}, 36},        {{Mpeg1, LayerIII, 9, 0, false, DualChannel}, 21},
      {{Mpeg1, LayerIII, 9, 0, false, SingleChannel}, 21}, {{Mpeg2, LayerIII, 9, 0, false, JointStereo}, 21},
      {{Mpeg2, LayerIII, 9, 0, false, DualChannel}, 13},   {{Mpeg25, LayerIII, 9, 0, false, SingleChannel}, 13}};
  for (const auto& [header, offset] : cases) {
    const Bytes stream =
        concat({infoFrame(XingHeader{"Xing", 0x1, 5000}.bytes(), offset, header), mpegFrames(60, header)});
    EXPECT_TRUE(Mp3Analysis(stream).logged("4000 AnalyzerAudioMp3::checkXingHeader(): found Xing header")) << offset;
    const Bytes elsewhere =
        concat({infoFrame(XingHeader{"Xing", 0x1, 5000}.bytes(), offset + 1, header), mpegFrames(60, header)});
    EXPECT_FALSE(Mp3Analysis(elsewhere).logged("4000 AnalyzerAudioMp3::checkXingHeader(): found Xing header"));
  }
}

TEST(AnalyzerAudioMp3Headers, LowSampleRatesCount576SamplesPerFrame) {
  const MpegHeader header = {Mpeg2, LayerIII, 8};
  const Mp3Analysis analysis(
      concat({infoFrame(XingHeader{"Xing", 0x1, 5000}.bytes(), 21, header), mpegFrames(60, header)}));
  EXPECT_EQ(analysis.value("duration"), "130 0");
  EXPECT_TRUE(
      analysis.logged("5000 AnalyzerAudioMp3::checkXingHeader() xing duration=[130s+000000us]numFrames=5000, "
                      "samplesPerFrame=576 samplingFrequency=22050"));
}

TEST(AnalyzerAudioMp3Headers, VbriTellsDurationAndBitrateAndIsPartOfTheAudio) {
  const Mp3Analysis analysis(withVbri(2000000, 5000));
  EXPECT_EQ(analysis.value("duration"), "130 0");
  EXPECT_EQ(analysis.value("bitrate"), "123000");
  EXPECT_EQ(analysis.value("data_start"), "0");
  EXPECT_TRUE(
      analysis.logged("5000 AnalyzerAudioMp3::checkVbriHeader()\n"
                      "4000 AnalyzerAudioMp3::checkVbriHeader(): found VBRI header\n"
                      "5000 AnalyzerAudioMp3::checkVbriHeader() vbi duration=[130s+000000us]numFrames=5000, "
                      "samplesPerFrame=1152 samplingFrequency=44100\n"
                      "5000 AnalyzerAudioMp3::checkMpeg(): secondHeaderOffset=417 thisFrameSize=417\n"
                      "5000 AnalyzerBase::skipData():# to offset 0."))
      << analysis.log;
}

TEST(AnalyzerAudioMp3Headers, VbriNeedsNoSecondHeader) {
  const Bytes lone = concat({infoFrame(vbriHeader(2000000, 5000), vbriOffset), filler(20000)});
  EXPECT_EQ(Mp3Analysis(lone).status, 0);
}

TEST(AnalyzerAudioMp3Headers, VbriWithoutFramesTellsNeitherDurationNorBitrate) {
  const Mp3Analysis analysis(withVbri(2000000, 0));
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("duration"), "");
  EXPECT_EQ(analysis.value("bitrate"), "128000");
}

TEST(AnalyzerAudioMp3Headers, VbriLies36BytesBehindTheFrameStartInEveryChannelMode) {
  const MpegHeader mono = {Mpeg1, LayerIII, 9, 0, false, SingleChannel};
  EXPECT_EQ(Mp3Analysis(concat({infoFrame(vbriHeader(2000000, 5000), 36, mono), mpegFrames(60)})).value("duration"),
            "130 0");
}

TEST(AnalyzerAudioMp3Headers, TheDurationOfAHeaderThatBreaksOffBehindItStays) {
  // Frames of 24 bytes: the low byte of the frame count is the first of the second header, and the stream ends within
  // the byte count.
  const MpegHeader header = {Mpeg2, LayerIII, 1, 1, false, SingleChannel};
  const Bytes xing = concat({text("Xing"), bigEndian(3, 4), bigEndian(0x0fff, 4)});
  const Bytes stream = head(overlay(mpegFrames(2, header), 13, xing), 28);
  ASSERT_EQ(stream[24], 0xff);
  const Mp3Analysis analysis(stream);
  EXPECT_EQ(analysis.status, 0);
  EXPECT_TRUE(
      analysis.logged("3000 AnalyzerAudioMp3::checkXingHeader():# error reading cached data ret=-1003 "
                      "buffer=(nil)!\n5000 AnalyzerAudioMp3::checkVbriHeader()"));
  EXPECT_EQ(analysis.value("duration"), "98 0");  // 4095 * 576 / 24000
  EXPECT_EQ(analysis.value("bitrate"), "8000");   // the frame's own
  EXPECT_EQ(analysis.value("data_start"), "0");   // and the frame counts as audio
}

TEST(AnalyzerAudioMp3Headers, AXingHeaderCutShortIsNone) {
  // Each stream ends inside the header; the frame is then looked at as an ordinary one.
  const Bytes whole = infoFrame(concat({XingHeader{"Xing", 0xf, 5000, 2000000}.bytes(), lameExtension(1, 192)}));
  const auto cutBehind = [&whole](size_t bytes) { return Mp3Analysis(head(whole, xingOffsetStereo + bytes)); };
  const std::string readError = "ret=-1003 buffer=(nil)!";
  const std::string found = "4000 AnalyzerAudioMp3::checkXingHeader(): found Xing header\n";
  const std::string failed = "3000 AnalyzerAudioMp3::checkXingHeader():# error reading cached data " + readError + "\n";
  const std::string next = "5000 AnalyzerAudioMp3::checkVbriHeader()";
  EXPECT_TRUE(cutBehind(3).logged("5000 AnalyzerAudioMp3::checkXingHeader()\n" + failed + next));
  EXPECT_TRUE(cutBehind(7).logged(found + failed + next));
  EXPECT_TRUE(cutBehind(11).logged(found + failed + next));
  EXPECT_TRUE(cutBehind(15).logged(failed + next));
  const Mp3Analysis noLame = cutBehind(120);
  EXPECT_TRUE(noLame.logged("3000 AnalyzerAudioMp3::checkLameHeader():# error reading cached data " + readError +
                            "\n5000 AnalyzerAudioMp3::checkMpeg(): secondHeaderOffset=417 thisFrameSize=417"));
  EXPECT_TRUE(cutBehind(3).logged("3000 AnalyzerAudioMp3::checkVbriHeader():# error reading cached data " + readError));
}

}  // namespace
}  // namespace zu::md::common::quorin
