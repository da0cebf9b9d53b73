// Finding the first frame: the scan, the check of two frames in a row, and what is made of them.

#include "formats/analyzer_audio_mp3.h"

#include <gtest/gtest.h>

#include <limits>

#include "framework/status.h"
#include "mp3_analysis.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr unsigned frameSize = 417;  // of the frames that the builders make unless told otherwise
constexpr size_t lastScanned = 2882;

const char* const noHeaderFound = "4000 AnalyzerAudioMp3::analyze(): no MPEG header found";
const char* const notSuccessful = "4000 AnalyzerAudioMp3::analyze(): analyzing MPEG not successfull";
const char* const notFound = "5000 AnalyzerAudioMp3::analyze() out not found. ";
const char* const missingBitrate = "5000 AnalyzerAudioMp3::checkMpeg() missing bitrate";

/// A stream of plain frames of exactly `size` bytes.
Bytes framesOfSize(size_t size) { return head(mpegFrames(size / frameSize + 1), size); }

TEST(AnalyzerAudioMp3, PlainFramesAreRecognised) {
  const Mp3Analysis analysis(mpegFrames(200));
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.answer,
            "audio/mpeg\n"
            "sampling_frequency 44100\n"
            "bitrate 128000\n"
            "duration 5 0\n"
            "data_start 0\n"
            "time_calc_start 0\n"
            "data_end 83399\n"
            "frame_size 417\n"
            "media_type 0\n"
            "can seek speed pause\n");
}

TEST(AnalyzerAudioMp3, LogOfPlainFrames) {
  EXPECT_EQ(Mp3Analysis(mpegFrames(200)).log,
            "4000 AnalyzerAudioMp3::analyze() in\n"
            "5000 AnalyzerAudioMp3::scanMpeg()\n"
            "5000 AnalyzerAudioMp3::scanMpeg() found at cache offset: 0 (0x00) start at:0 \n"
            "5000 AnalyzerAudioMp3::checkMpeg()\n"
            "5000 AnalyzerAudioMp3::checkFrameHeader(): found MPEG header\n"
            "5000 AnalyzerAudioMp3::checkFrameHeader() version=1, layer=3, bitrateIdx=9, mpgSamplerate=0, "
            "hasPadding=0, stereoMode=0\n"
            "5000 AnalyzerAudioMp3::checkXingHeader()\n"
            "5000 AnalyzerAudioMp3::checkVbriHeader()\n"
            "5000 AnalyzerAudioMp3::checkMpeg() vbi duration_=[5s+000000us]fileSize=83400, dataStartOffset=0 br=128\n"
            "5000 AnalyzerAudioMp3::checkMpeg(): secondHeaderOffset=417 thisFrameSize=417\n"
            "5000 AnalyzerAudioMp3::checkMpeg(): match secondHeader\n"
            "5000 AnalyzerBase::skipData():# to offset 0.\n"
            "5000 AnalyzerBase::skipData():# skipping 0 bytes.\n"
            "4000 AnalyzerAudioMp3::analyze(): MP3 found\n"
            "4000 debugPrint() sampling frequency: 44100 1\n"
            "4000 debugPrint() bitrate           : 128 1\n"
            "4000 debugPrint() duration          : [5s+000000us] 1\n"
            "4000 debugPrint() start offset      : 0 1\n"
            "4000 debugPrint() time calc offset  : 0 0\n"
            "4000 debugPrint() end offset        : 83399 1\n"
            "4000 debugPrint() frame size        : 417 1\n"
            "4000 debugPrint() media type        : 0 1\n"
            "4000 debugPrint() channels          : 0 0\n"
            "4000 debugPrint() can seek          : 1 \n"
            "4000 debugPrint() can setspeed      : 1 \n"
            "4000 debugPrint() can pause         : 1 \n"
            "5000 AnalyzerAudioMp3::analyze(): out ok\n");
}

TEST(AnalyzerAudioMp3, LogOfAStreamWithoutAnyFrame) {
  EXPECT_EQ(Mp3Analysis(filler(20000)).log,
            "4000 AnalyzerAudioMp3::analyze() in\n"
            "5000 AnalyzerAudioMp3::scanMpeg()\n"
            "4000 AnalyzerAudioMp3::analyze(): no MPEG header found\n"
            "5000 AnalyzerAudioMp3::analyze() out not found. \n");
}

TEST(AnalyzerAudioMp3, LogOfAnEmptyStream) {
  const Mp3Analysis analysis{Bytes()};
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.log,
            "4000 AnalyzerAudioMp3::analyze() in\n"
            "3000 AnalyzerAudioMp3::checkID3v2():# error reading cached data ret=-1003 buffer=(nil)!\n"
            "5000 AnalyzerAudioMp3::scanMpeg()\n"
            "3000 AnalyzerAudioMp3::scanMpeg():# error reading cached data ret=-1003 buffer=(nil)!\n"
            "4000 AnalyzerAudioMp3::analyze(): no MPEG header found\n"
            "5000 AnalyzerAudioMp3::analyze() out not found. \n");
}

TEST(AnalyzerAudioMp3, NeedsMediaAccess) {
  AnalyzerAudioMp3 analyzer;
  const auto before = boost::make_shared<Info>();
  boost::shared_ptr<Info> info = before;
  const LogCapture log;
  EXPECT_EQ(analyzer.analyze(boost::shared_ptr<strell::Strell>(), info), STATUS_NO_ARGUMENT);
  EXPECT_EQ(log.dump(),
            "4000 AnalyzerAudioMp3::analyze() in\n"
            "3000 AnalyzerAudioMp3::analyze() strell not set\n");
  EXPECT_EQ(info, before);
}

TEST(AnalyzerAudioMp3, LeavesTheInfoAloneWhenItDeclines) {
  const auto source = boost::make_shared<ScriptedSource>(Mp3Analysis::scriptOf(filler(20000)));
  const auto strell = boost::make_shared<strell::Strell>();
  strell->attach(source);
  const auto before = boost::make_shared<Info>();
  boost::shared_ptr<Info> info = before;
  AnalyzerAudioMp3 analyzer;
  EXPECT_EQ(analyzer.analyze(strell, info), STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(info, before);
}

TEST(AnalyzerAudioMp3, HoldsNeitherSourceNorResultAfterwards) {
  const auto strell = boost::make_shared<strell::Strell>();
  strell->attach(boost::make_shared<ScriptedSource>(Mp3Analysis::scriptOf(mpegFrames(30))));
  AnalyzerAudioMp3 analyzer;
  boost::shared_ptr<Info> info;
  EXPECT_EQ(analyzer.analyze(strell, info), 0);
  EXPECT_EQ(strell.use_count(), 1);
  EXPECT_EQ(info.use_count(), 1);
}

TEST(AnalyzerAudioMp3, OneAnalyzerServesManyItemsAlike) {
  const Bytes items[] = {mpegFrames(200), filler(20000), concat({Id3v2Tag().around(filler(500)), mpegFrames(40)}),
                         infoFrame(XingHeader{"Info", 0xf, 5000, 2000000}.bytes()), mpegFrames(200)};
  AnalyzerAudioMp3 reused;
  for (const Bytes& item : items) {
    const Mp3Analysis fresh(item);
    const auto strell = boost::make_shared<strell::Strell>();
    strell->attach(boost::make_shared<ScriptedSource>(Mp3Analysis::scriptOf(item)));
    boost::shared_ptr<Info> info;
    const LogCapture log;
    EXPECT_EQ(reused.analyze(strell, info), fresh.status);
    EXPECT_EQ(describe(info.get()), fresh.answer);
    EXPECT_EQ(log.dump(), fresh.log);
  }
}

TEST(AnalyzerAudioMp3, StartsAtCacheOffsetZeroWhereverTheCacheOffsetWas) {
  const auto source = boost::make_shared<ScriptedSource>(Mp3Analysis::scriptOf(mpegFrames(200)));
  const auto strell = boost::make_shared<strell::Strell>();
  strell->attach(source);
  strell->setDataCacheOffset(5000);
  EXPECT_EQ(Mp3Analysis(source, strell).answer, Mp3Analysis(mpegFrames(200)).answer);
}

TEST(AnalyzerAudioMp3, PlaysOnFromTheDataStart) {
  Bytes bytes = concat({noise(1000), mpegFrames(60)});
  const Mp3Analysis analysis(bytes);
  EXPECT_EQ(analysis.value("data_start"), "1000");
  unsigned char first[4] = {};
  unsigned got = 0;
  std::vector<strell::IcyData> icy;
  EXPECT_EQ(analysis.strell->readData(first, 4, got, icy), 0);
  EXPECT_EQ(Bytes(first, first + 4), MpegHeader().bytes());
}

TEST(AnalyzerAudioMp3, FirstFrameAtTheLastScannedByteIsFound) {
  const Mp3Analysis analysis(concat({filler(lastScanned), mpegFrames(60)}));
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("data_start"), "2882");
  EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioMp3::scanMpeg() found at cache offset: 2882 (0xb42) start at:2882 "));
}

TEST(AnalyzerAudioMp3, FirstFrameBehindTheLastScannedByteIsNotFound) {
  const Mp3Analysis analysis(concat({filler(lastScanned + 1), mpegFrames(60)}));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_FALSE(analysis.info);
  EXPECT_TRUE(analysis.logged(noHeaderFound));
}

TEST(AnalyzerAudioMp3, ScanCountsFromTheEndOfTheTag) {
  const Bytes tag = Id3v2Tag().around(filler(990));
  const Mp3Analysis found(concat({tag, filler(lastScanned), mpegFrames(60)}));
  EXPECT_EQ(found.value("data_start"), "3882");
  EXPECT_EQ(Mp3Analysis(concat({tag, filler(lastScanned + 1), mpegFrames(60)})).status, STATUS_NOT_THIS_FORMAT);
}

TEST(AnalyzerAudioMp3, ARejectedCandidateStartsTheNextScanBehindItself) {
  // The scan after it looks as far as every scan does, so a frame is found that the first would not have reached.
  Bytes lead = filler(101 + lastScanned);
  lead[100] = 0xff;
  lead[101] = 0xfb;
  const Mp3Analysis reached(concat({lead, mpegFrames(60)}));
  EXPECT_EQ(reached.value("data_start"), "2983");
  lead.push_back(0);
  EXPECT_EQ(Mp3Analysis(concat({lead, mpegFrames(60)})).status, STATUS_NOT_THIS_FORMAT);
}

TEST(AnalyzerAudioMp3, NoCandidateIsTriedBehindTheScannedBytes) {
  // A candidate at the last scanned byte is rejected; the next would start behind it.
  Bytes lead = filler(lastScanned);
  lead.insert(lead.end(), {0xff, 0xfb, 0x90, 0x00});
  const Mp3Analysis analysis(concat({lead, filler(10), mpegFrames(60)}));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged(notSuccessful));
  EXPECT_FALSE(analysis.logged(noHeaderFound));
  EXPECT_TRUE(analysis.logged(notFound));
}

TEST(AnalyzerAudioMp3, ALoneFrameIsNoFormat) {
  const Mp3Analysis analysis(concat({mpegFrame(), filler(20000, 0x55)}));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioMp3::checkMpeg(): no header at pos=417 [55][55]"));
  EXPECT_TRUE(analysis.logged(notSuccessful));
}

TEST(AnalyzerAudioMp3, SecondHeaderNeedsTheWholeSync) {
  const auto second = [](unsigned char byte1) {
    return Mp3Analysis(concat({mpegFrame(), {0xff, byte1, 0, 0}, filler(20000)}));
  };
  EXPECT_TRUE(second(0xc0).logged("5000 AnalyzerAudioMp3::checkMpeg(): no header at pos=417 [ff][c0]"));
  EXPECT_EQ(second(0xe0).status, 0);  // only the sync is looked at
}

TEST(AnalyzerAudioMp3, AStreamThatEndsBeforeTheSecondHeaderIsGivenUpThere) {
  // The scan resumes at the second header's place, where nothing is, and not behind the first header.
  const Mp3Analysis analysis(mpegFrame());
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.log,
            "4000 AnalyzerAudioMp3::analyze() in\n"
            "5000 AnalyzerAudioMp3::scanMpeg()\n"
            "5000 AnalyzerAudioMp3::scanMpeg() found at cache offset: 0 (0x00) start at:0 \n"
            "5000 AnalyzerAudioMp3::checkMpeg()\n"
            "5000 AnalyzerAudioMp3::checkFrameHeader(): found MPEG header\n"
            "5000 AnalyzerAudioMp3::checkFrameHeader() version=1, layer=3, bitrateIdx=9, mpgSamplerate=0, "
            "hasPadding=0, stereoMode=0\n"
            "5000 AnalyzerAudioMp3::checkXingHeader()\n"
            "5000 AnalyzerAudioMp3::checkVbriHeader()\n"
            "5000 AnalyzerAudioMp3::checkMpeg(): secondHeaderOffset=417 thisFrameSize=417\n"
            "3000 AnalyzerAudioMp3::checkMpeg():# error reading cached data ret=-1003 buffer=(nil)!\n"
            "4000 AnalyzerAudioMp3::analyze(): analyzing MPEG not successfull\n"
            "5000 AnalyzerAudioMp3::scanMpeg()\n"
            "3000 AnalyzerAudioMp3::scanMpeg():# error reading cached data ret=-1004 buffer=(nil)!\n"
            "4000 AnalyzerAudioMp3::analyze(): no MPEG header found\n"
            "5000 AnalyzerAudioMp3::analyze() out not found. \n");
}

TEST(AnalyzerAudioMp3, AHeaderCutShortIsNoFrame) {
  const Mp3Analysis analysis(Bytes{0xff, 0xfb, 0x90});
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(
      analysis.logged("3000 AnalyzerAudioMp3::checkMpeg():# error reading cached data ret=-1003 buffer=(nil)!"));
}

TEST(AnalyzerAudioMp3, AReservedHeaderIsSteppedOver) {
  for (const MpegHeader& reserved : {MpegHeader{MpegReservedVersion}, MpegHeader{Mpeg1, ReservedLayer}}) {
    const Mp3Analysis analysis(concat({reserved.bytes(), mpegFrames(60)}));
    EXPECT_EQ(analysis.value("data_start"), "4");
    EXPECT_TRUE(analysis.logged(notSuccessful));
  }
}

TEST(AnalyzerAudioMp3, ForbiddenBitrateIndexIsMissingBitrate) {
  const Mp3Analysis analysis(mpegFrames(60, MpegHeader{Mpeg1, LayerIII, 15}));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioMp3::checkMpeg(): match secondHeader\n" + std::string(missingBitrate) +
                              "\n" + notSuccessful));
}

TEST(AnalyzerAudioMp3, FreeFormatPassesWithBitrateZero) {
  const MpegHeader free = {Mpeg1, LayerIII, 0};
  const Mp3Analysis analysis(mpegFrames(200, free));
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("bitrate"), "0");
  EXPECT_EQ(analysis.value("duration"), "5 0");  // as for 128 kbit/s
  EXPECT_TRUE(analysis.logged(
      "5000 AnalyzerAudioMp3::checkMpeg() vbi duration_=[5s+000000us]fileSize=83400, dataStartOffset=0 br=128"));
}

TEST(AnalyzerAudioMp3, ForbiddenBitrateIndexEstimatesAsFor128Kilobits) {
  const Mp3Analysis analysis(mpegFrames(200, MpegHeader{Mpeg1, LayerIII, 15}));
  EXPECT_TRUE(analysis.logged(
      "5000 AnalyzerAudioMp3::checkMpeg() vbi duration_=[5s+000000us]fileSize=83400, dataStartOffset=0 br=128"));
}

TEST(AnalyzerAudioMp3, EveryVersionLayerAndChannelModeIsRecognised) {
  for (const MpegVersion version : {Mpeg1, Mpeg2, Mpeg25}) {
    for (const MpegLayer layer : {LayerI, LayerII, LayerIII}) {
      for (const MpegChannels channels : {Stereo, JointStereo, DualChannel, SingleChannel}) {
        const MpegHeader header = {version, layer, 8, 1, false, channels};
        const bool halved = version != Mpeg1 && layer != LayerIII;
        const size_t size = mpegFrameSize(header) / (halved ? 2 : 1);
        const Mp3Analysis analysis(repeat(mpegFrame(header, size), 100));
        EXPECT_EQ(analysis.status, 0);
        EXPECT_EQ(analysis.value("data_start"), "0");
        EXPECT_EQ(analysis.value("sampling_frequency"), std::to_string(mpegSampleRate(header)));
        EXPECT_EQ(analysis.value("bitrate"), std::to_string(1000 * mpegKilobits(header)));
        EXPECT_EQ(analysis.value("frame_size"), std::to_string(size));
        EXPECT_EQ(analysis.value("media_type"), "0");
      }
    }
  }
}

TEST(AnalyzerAudioMp3, LowSampleRateLayersIAndIIInTheirStandardLengthAreDeclined) {
  for (const MpegVersion version : {Mpeg2, Mpeg25}) {
    for (const MpegLayer layer : {LayerI, LayerII}) {
      EXPECT_EQ(Mp3Analysis(mpegFrames(100, MpegHeader{version, layer, 8, 1})).status, STATUS_NOT_THIS_FORMAT);
    }
  }
}

TEST(AnalyzerAudioMp3, UpTo10000BytesAreNoRealFile) {
  for (const size_t size : {9999U, 10000U}) {
    const Mp3Analysis analysis(framesOfSize(size));
    EXPECT_EQ(analysis.status, 0);
    EXPECT_EQ(analysis.value("duration"), "");
    EXPECT_NE(analysis.answer.find("\ncan\n"), std::string::npos) << analysis.answer;
  }
  const Mp3Analysis larger(framesOfSize(10001));
  EXPECT_EQ(larger.value("duration"), "0 0");
  EXPECT_EQ(larger.value("can"), "seek speed pause");
}

TEST(AnalyzerAudioMp3, EstimateCountsFromBehindTheTag) {
  const Mp3Analysis analysis(concat({Id3v2Tag().around(filler(15990)), mpegFrames(200)}));
  EXPECT_EQ(analysis.value("data_start"), "16000");
  EXPECT_EQ(analysis.value("duration"), "5 0");
  EXPECT_TRUE(analysis.logged(
      "5000 AnalyzerAudioMp3::checkMpeg() vbi duration_=[5s+000000us]fileSize=99400, dataStartOffset=16000 br=128"));
}

TEST(AnalyzerAudioMp3, EstimateOfATagLongerThanTheFileIsNegative) {
  Id3v2Tag tag;
  tag.declaredSize = 100000;
  const Mp3Analysis analysis(concat({tag.around(filler(100)), mpegFrames(30)}));
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("duration"), "-5 0");  // (12620 - 100010) * 8 / 128000, toward zero
  EXPECT_EQ(analysis.value("data_start"), "100120");
  EXPECT_TRUE(analysis.logged(
      "5000 AnalyzerAudioMp3::checkMpeg() vbi duration_=[-5s+000000us]fileSize=12620, dataStartOffset=100010 br=128"));
  EXPECT_TRUE(analysis.logged("3000 AnalyzerBase::skipData():# error reading data err=-1005!"));
}

TEST(AnalyzerAudioMp3, EstimateWrapsForHostileSizes) {
  SourceScript script = Mp3Analysis::scriptOf(mpegFrames(60));
  script.declaredSize = std::numeric_limits<long long>::max();
  EXPECT_EQ(Mp3Analysis(script).value("duration"), "0 0");  // -8 / 128000
  script.declaredSize = (1LL << 60) + 16000;
  EXPECT_EQ(Mp3Analysis(script).value("duration"), "-72057594037926 0");
  EXPECT_EQ(Mp3Analysis(script).value("data_end"), "");
}

TEST(AnalyzerAudioMp3, NoEstimateWithoutASize) {
  SourceScript script = Mp3Analysis::scriptOf(mpegFrames(60));
  script.sizeKnown = false;
  const Mp3Analysis analysis(script);
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.answer,
            "audio/mpeg\n"
            "sampling_frequency 44100\n"
            "bitrate 128000\n"
            "data_start 0\n"
            "time_calc_start 0\n"
            "frame_size 417\n"
            "media_type 0\n"
            "can\n");
}

TEST(AnalyzerAudioMp3, ARejectedCandidateLeavesItsEstimateToTheNext) {
  // The first header says 32 kbit/s and has no successor; what it made of the size is made anew by the second.
  const Bytes lone = mpegFrame(MpegHeader{Mpeg1, LayerIII, 1}, 200);
  const Mp3Analysis analysis(concat({lone, mpegFrames(200)}));
  EXPECT_EQ(analysis.value("data_start"), "200");
  EXPECT_EQ(analysis.value("duration"), "5 0");
  EXPECT_TRUE(analysis.logged(
      "5000 AnalyzerAudioMp3::checkMpeg() vbi duration_=[20s+000000us]fileSize=83600, dataStartOffset=0 br=32"));
}

TEST(AnalyzerAudioMp3, SeekingIsGrantedOnlyToASourceThatCan) {
  SourceScript script = Mp3Analysis::scriptOf(mpegFrames(60));
  script.seekable = false;
  EXPECT_NE(Mp3Analysis(script).answer.find("\ncan\n"), std::string::npos);
  script.seekable = true;
  script.seekableFault = -5;
  EXPECT_NE(Mp3Analysis(script).answer.find("\ncan\n"), std::string::npos);
}

TEST(AnalyzerAudioMp3, AReadPositionBehindTheDataStartIsLoggedAndIgnored) {
  const auto source = boost::make_shared<ScriptedSource>(Mp3Analysis::scriptOf(mpegFrames(60)));
  const auto strell = boost::make_shared<strell::Strell>();
  strell->attach(source);
  strell->seek(5000);
  const Mp3Analysis analysis(source, strell);
  EXPECT_EQ(analysis.status, 0);
  EXPECT_TRUE(
      analysis.logged("5000 AnalyzerBase::skipData():# to offset 0.\n"
                      "3000 AnalyzerBase::skipData():# error current offset behind offset. cur=5000 offs=0!\n"
                      "3000 AnalyzerAudioMp3::analyze():# error skipping header. err=-1!"));
}

}  // namespace
}  // namespace zu::md::common::quorin
