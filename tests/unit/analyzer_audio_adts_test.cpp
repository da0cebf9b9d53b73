#include "formats/analyzer_audio_adts.h"

#include <gtest/gtest.h>

#include "format_analysis.h"
#include "framework/status.h"
#include "support/adts_builder.h"
#include "support/bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

using Analysis = FormatAnalysis<AnalyzerAudioAdts>;

constexpr size_t someFrames = 1000;  // of 16 bytes; makes a real file

const char* const noHeaderFound = "4000 AnalyzerAudioAdts::analyze(): no ADTS header found";
const char* const notSuccessful = "4000 AnalyzerAudioAdts::analyze(): analyzing ADTS not successfull";
const char* const notFound = "5000 AnalyzerAudioAdts::analyze() out not found. ";
const char* const fixedHeaderError = "3000 AnalyzerAudioAdts::adts_frame():problem parsing fixed header";
const char* const variableHeaderError = "3000 AnalyzerAudioAdts::adts_frame():problem parsing variable header";
const char* const secondSyncMissing = "5000 AnalyzerAudioAdts::checkAdts(): missing second ADTS sync sequence";

std::string readError(const std::string& operation, int code = strell::NOT_CACHED) {
  return "3000 AnalyzerAudioAdts::" + operation + "():# error reading cached data ret=" + std::to_string(code) +
         " buffer=(nil)!";
}

const std::string secondSyncUnreadable = readError("checkAdts", strell::OFFSET_NOT_CACHED);

AdtsFrame ofLength(unsigned length, unsigned size = 0) {
  AdtsFrame frame;
  frame.length = length;
  frame.size = size;
  return frame;
}

Bytes framesOfSize(size_t size) { return head(adtsFrames(size / 16 + 1), size); }

TEST(AnalyzerAudioAdts, AStreamIsDescribed) {
  const Bytes stream = adtsFrames(someFrames);
  ASSERT_EQ(head(stream, 7), (Bytes{0xff, 0xf1, 0x50, 0x80, 0x02, 0x1f, 0xfc}));
  const Analysis analysis(stream);
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.answer,
            "audio/aacp\n"
            "sampling_frequency 44100\n"
            "data_start 0\n"
            "time_calc_start 0\n"
            "data_end 15999\n"
            "frame_size 16\n"
            "media_type 7\n"
            "can seek speed pause\n");
}

TEST(AnalyzerAudioAdts, TheIdBitMakesItMpeg2) {
  AdtsFrame frame;
  frame.id = 1;
  const Bytes stream = adtsFrames(someFrames, frame);
  ASSERT_EQ(stream[1], 0xf9);
  EXPECT_EQ(Analysis(stream).value("media_type"), "6");
}

TEST(AnalyzerAudioAdts, LogOfAStream) {
  EXPECT_EQ(
      Analysis(scriptOf(concat({filler(17), adtsFrames(someFrames)})), {"HTTP/1.1 200 OK\r\n", "icy-br:96\r\n"}).log,
      "4000 AnalyzerAudioAdts::analyze() in\n"
      "5000 AnalyzerAudioAdts::scanAdts()\n"
      "5000 AnalyzerAudioAdts::scanAdts() found at cache offset: 17 (0x11)\n"
      "5000 AnalyzerAudioAdts::checkAdts()\n"
      "5000 AnalyzerAudioAdts::checkAdts() cache offset: 17 (0x11)\n"
      "5000 AnalyzerAudioAdts::checkAdts(): found ADTS sync sequence\n"
      "5000 AnalyzerAudioAdts::determineBitrate() Header=HTTP/1.1 200 OK\r\n"
      ".\n"
      "5000 AnalyzerAudioAdts::determineBitrate() Header=icy-br:96\r\n"
      ".\n"
      "4000 analyzer_audio_adts:#:determineBitrate(): found icy-br = 96.\n"
      "5000 AnalyzerBase::skipData():# to offset 17.\n"
      "5000 AnalyzerBase::skipData():# skipping 17 bytes.\n"
      "4000 AnalyzerAudioAdts::analyze(): ADTS found\n"
      "4000 debugPrint() sampling frequency: 44100 1\n"
      "4000 debugPrint() bitrate           : 96 1\n"
      "4000 debugPrint() duration          : [0s+000000us] 0\n"
      "4000 debugPrint() start offset      : 17 1\n"
      "4000 debugPrint() time calc offset  : 0 0\n"
      "4000 debugPrint() end offset        : 16016 1\n"
      "4000 debugPrint() frame size        : 16 1\n"
      "4000 debugPrint() media type        : 7 1\n"
      "4000 debugPrint() channels          : 0 0\n"
      "4000 debugPrint() can seek          : 1 \n"
      "4000 debugPrint() can setspeed      : 1 \n"
      "4000 debugPrint() can pause         : 1 \n"
      "5000 AnalyzerAudioAdts::analyze(): out ok\n");
}

TEST(AnalyzerAudioAdts, LogOfAnotherFormat) {
  EXPECT_EQ(Analysis(filler(20000)).log,
            "4000 AnalyzerAudioAdts::analyze() in\n"
            "5000 AnalyzerAudioAdts::scanAdts()\n"
            "4000 AnalyzerAudioAdts::analyze(): no ADTS header found\n"
            "5000 AnalyzerAudioAdts::analyze() out not found. \n");
}

TEST(AnalyzerAudioAdts, LogOfAnEmptyStream) {
  const Analysis analysis{Bytes()};
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.log,
            "4000 AnalyzerAudioAdts::analyze() in\n"
            "5000 AnalyzerAudioAdts::scanAdts()\n" +
                readError("scanAdts") + "\n" + noHeaderFound + "\n" + notFound + "\n");
}

TEST(AnalyzerAudioAdts, NeedsMediaAccess) {
  const Analysis analysis{boost::shared_ptr<strell::Strell>()};
  EXPECT_EQ(analysis.status, STATUS_NO_ARGUMENT);
  EXPECT_EQ(analysis.log,
            "4000 AnalyzerAudioAdts::analyze() in\n"
            "3000 AnalyzerAudioAdts::analyze() strell not set\n");
}

TEST(AnalyzerAudioAdts, LeavesTheInfoAloneWhenItDeclines) {
  const auto before = boost::make_shared<Info>();
  boost::shared_ptr<Info> info = before;
  const auto strell = Analysis::open(boost::make_shared<ScriptedSource>(scriptOf(filler(20000))));
  EXPECT_EQ(AnalyzerAudioAdts().analyze(strell, info), STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(info, before);
}

// The very first analysis too: what the constructor sets is no start offset.
TEST(AnalyzerAudioAdts, ServesOneStreamAfterTheOther) {
  AnalyzerAudioAdts analyzer;
  const auto analyze = [&analyzer](const Bytes& bytes) {
    const auto strell = Analysis::open(boost::make_shared<ScriptedSource>(scriptOf(bytes)));
    boost::shared_ptr<Info> info;
    analyzer.analyze(strell, info);
    EXPECT_EQ(strell.use_count(), 1) << "the analyzer holds on to the source";
    long long position = -1;
    strell->tell(position);
    return describe(info.get()) + std::to_string(position);
  };
  AdtsFrame frame;
  frame.protectionAbsent = 0;
  frame.rawDataBlocks = 3;
  const Bytes stream = concat({filler(33), adtsFrames(someFrames, frame)});
  const std::string first = analyze(stream);
  EXPECT_EQ(first.substr(first.find("can")), "can seek speed pause\n33");
  EXPECT_EQ(analyze(filler(20000)), "none\n0");
  EXPECT_EQ(analyze(stream), first);
}

// ---- the scan

TEST(AnalyzerAudioAdts, TheSearchIsBoundedBy8194) { EXPECT_EQ(AnalyzerAudioAdts::maxScan, 8194U); }

TEST(AnalyzerAudioAdts, ASyncAtOffset8193IsFound) {
  const Analysis analysis(concat({filler(8193), adtsFrames(someFrames)}));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_start"), "8193");
  EXPECT_EQ(analysis.playPosition(), 8193);
  EXPECT_EQ(analysis.strell->getDataCacheOffset(), 8193U) << "on the first frame";
}

TEST(AnalyzerAudioAdts, ASyncAtOffset8194IsNot) {
  const Analysis analysis(concat({filler(8194), adtsFrames(someFrames)}));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged(noHeaderFound));
}

// The bound counts from the start of the cache, not from where a search begins.
TEST(AnalyzerAudioAdts, AFalseSyncDoesNotExtendTheSearch) {
  Bytes stream = concat({filler(8194), adtsFrames(someFrames)});
  stream = overlay(stream, 8000, {0xff, 0xf1});
  EXPECT_EQ(Analysis(stream).status, STATUS_NOT_THIS_FORMAT);
}

TEST(AnalyzerAudioAdts, TheSyncHasTwelveBits) {
  for (const unsigned char second : Bytes{0xe1, 0x71, 0xd1, 0xb1}) {
    EXPECT_TRUE(Analysis(overlay(filler(20000), 0, {0xff, second}))
                    .logged("5000 AnalyzerAudioAdts::scanAdts()\n" + std::string(noHeaderFound)));
  }
}

TEST(AnalyzerAudioAdts, WithoutASecondSyncTheSearchGoesOnOneByteFurther) {
  const Bytes lonely = overlay(filler(100), 0, adtsFrame());
  const Analysis analysis(concat({lonely, adtsFrames(someFrames)}));
  EXPECT_EQ(analysis.value("data_start"), "100");
  EXPECT_TRUE(analysis.logged(std::string(secondSyncMissing) + "\n" + notSuccessful +
                              "\n5000 AnalyzerAudioAdts::scanAdts()\n"
                              "5000 AnalyzerAudioAdts::scanAdts() found at cache offset: 100 (0x64)"));
}

TEST(AnalyzerAudioAdts, TheSecondSyncHasTwelveBitsToo) {
  for (const Bytes& almost : {Bytes{0xff, 0xe1}, Bytes{0xfe, 0xf1}, Bytes{0x7f, 0xf1}}) {
    const Analysis analysis(overlay(filler(20000), 0, concat({head(adtsFrame(), 16), almost})));
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
    EXPECT_TRUE(analysis.logged(secondSyncMissing));
  }
}

// The sync of the second frame cannot be read; syncs before that place are not looked for any more.
TEST(AnalyzerAudioAdts, ASecondFrameBehindTheEndEndsTheSearch) {
  const Analysis analysis(concat({adtsFrame(ofLength(300, 50)), adtsFrames(10)}));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioAdts::checkAdts(): found ADTS sync sequence\n" + secondSyncUnreadable +
                              "\n" + notSuccessful + "\n5000 AnalyzerAudioAdts::scanAdts()\n" +
                              readError("scanAdts", strell::OFFSET_NOT_CACHED) + "\n" + noHeaderFound + "\n" +
                              notFound));
}

TEST(AnalyzerAudioAdts, ASecondFrameBeyondTheBoundEndsTheSearchSilently) {
  const Analysis analysis(concat({filler(8000), adtsFrame(ofLength(500, 50)), adtsFrames(10)}));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged(secondSyncUnreadable + "\n" + notSuccessful + "\n" + notFound));
}

TEST(AnalyzerAudioAdts, AStartBehindTheReadPositionIsNoFailure) {
  const auto strell = Analysis::open(boost::make_shared<ScriptedSource>(scriptOf(adtsFrames(someFrames))));
  unsigned char played[10];
  unsigned int count = 0;
  std::vector<strell::IcyData> icy;
  ASSERT_EQ(strell->readData(played, sizeof played, count, icy), 0);
  const Analysis analysis(strell);
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_TRUE(
      analysis.logged("3000 AnalyzerAudioAdts::analyze():# error skipping header. err=-1!\n"
                      "4000 AnalyzerAudioAdts::analyze(): ADTS found"));
}

// ---- the header

TEST(AnalyzerAudioAdts, SamplingFrequencyByIndex) {
  const char* const expected[] = {"96000", "88200", "64000", "48000", "44100", "32000", "24000",
                                  "22050", "16000", "12000", "11025", "8000",  "7350"};
  AdtsFrame frame;
  for (frame.frequencyIndex = 0; frame.frequencyIndex < 13; ++frame.frequencyIndex) {
    EXPECT_EQ(Analysis(adtsFrames(someFrames, frame)).value("sampling_frequency"), expected[frame.frequencyIndex]);
  }
}

TEST(AnalyzerAudioAdts, SamplingFrequencyIndexes13To15Fail) {
  AdtsFrame frame;
  for (frame.frequencyIndex = 13; frame.frequencyIndex < 16; ++frame.frequencyIndex) {
    const Analysis analysis(adtsFrames(20, frame));
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
    EXPECT_TRUE(analysis.logged(
        "5000 AnalyzerAudioAdts::checkAdts(): found ADTS sync sequence\n"
        "3000 AnalyzerAudioAdts::adts_fixed_header() found invalid value for sampling frequency index (0x0" +
        std::string(1, "def"[frame.frequencyIndex - 13]) + ")\n" + fixedHeaderError + "\n" + notSuccessful));
  }
}

TEST(AnalyzerAudioAdts, TheSearchGoesOnOneByteBehindABrokenHeader) {
  const Analysis analysis(concat({{0xff, 0xf1, 13 << 2}, adtsFrames(someFrames)}));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_start"), "3");
  EXPECT_TRUE(analysis.logged(fixedHeaderError));
}

TEST(AnalyzerAudioAdts, AFrameWithoutLengthFails) {
  const Analysis analysis(overlay(filler(20000), 0, head(adtsFrame(ofLength(0)), 7)));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioAdts::checkAdts(): found ADTS sync sequence\n" +
                              std::string(variableHeaderError) + "\n" + notSuccessful));
}

TEST(AnalyzerAudioAdts, TruncatedHeadersFail) {
  for (size_t there = 2; there < 4; ++there) {
    EXPECT_TRUE(Analysis(head(adtsFrame(), there))
                    .logged(readError("adts_fixed_header") + "\n" + fixedHeaderError + "\n" + notSuccessful));
  }
  for (size_t there = 4; there < 7; ++there) {
    EXPECT_TRUE(Analysis(head(adtsFrame(), there))
                    .logged(readError("adts_variable_header") + "\n" + variableHeaderError + "\n" + notSuccessful));
  }
}

TEST(AnalyzerAudioAdts, AFrameOf2047BytesIsReadWhole) {
  EXPECT_EQ(Analysis(adtsFrames(10, ofLength(2047))).value("frame_size"), "2047");
}

TEST(AnalyzerAudioAdts, AFrameOf2100BytesIsReadAs52) {
  const Bytes stream = adtsFrames(10, ofLength(2100));
  const Analysis analysis(stream);
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT) << "the second sync is sought in the wrong place";
  EXPECT_TRUE(analysis.logged(secondSyncMissing));
  EXPECT_EQ(Analysis(overlay(stream, 52, {0xff, 0xf1})).value("frame_size"), "52");
}

TEST(AnalyzerAudioAdts, AFrameOf2048BytesHasNoLength) {
  EXPECT_TRUE(Analysis(adtsFrames(10, ofLength(2048))).logged(variableHeaderError));
}

TEST(AnalyzerAudioAdts, TheTopBitOfTheLengthCounts) {
  EXPECT_EQ(Analysis(adtsFrames(10, ofLength(4096 + 100))).value("frame_size"), "4196");
}

TEST(AnalyzerAudioAdts, ALengthShorterThanAHeaderIsTakenAsItIs) {
  // The second sync, one byte further, lies in the header itself.
  const Analysis analysis(overlay(filler(20000), 0, {0xff, 0xff, 0xf0, 0x80, 0x00, 0x20, 0xfc}));
  EXPECT_EQ(analysis.value("frame_size"), "1");
  EXPECT_EQ(analysis.value("sampling_frequency"), "7350");
}

// ---- checksums: what they say is not looked at, and a frame is accepted without them

TEST(AnalyzerAudioAdts, FramesWithChecksumsAreAccepted) {
  AdtsFrame frame;
  frame.protectionAbsent = 0;
  for (frame.rawDataBlocks = 0; frame.rawDataBlocks < 4; ++frame.rawDataBlocks) {
    EXPECT_EQ(Analysis(adtsFrames(someFrames, frame)).status, STATUS_OK);
  }
}

/// Reads of checksums that fail in a stream of one frame header that ends behind it.
std::string checksumFailures(unsigned protectionAbsent, unsigned rawDataBlocks) {
  AdtsFrame frame = ofLength(16, 7);
  frame.protectionAbsent = protectionAbsent;
  frame.rawDataBlocks = rawDataBlocks;
  const std::string log = Analysis(adtsFrame(frame)).log;
  const std::string before = "found ADTS sync sequence\n";
  const size_t begin = log.find(before) + before.size();
  return log.substr(begin, log.find(secondSyncUnreadable) - begin);
}

TEST(AnalyzerAudioAdts, ChecksumsAreReadAsOftenAsTheHeaderSays) {
  EXPECT_EQ(checksumFailures(0, 0), readError("adts_error_check") + "\n");
  const std::string header = readError("adts_header_error_check") + "\n";
  const std::string block = readError("adts_raw_data_block_error_check") + "\n";
  EXPECT_EQ(checksumFailures(0, 1), header + block);
  EXPECT_EQ(checksumFailures(0, 2), header + block + block);
  EXPECT_EQ(checksumFailures(0, 3), header + block + block + block);
}

TEST(AnalyzerAudioAdts, WithoutProtectionNoChecksumIsRead) {
  EXPECT_EQ(checksumFailures(1, 0), "");
  EXPECT_EQ(checksumFailures(1, 3), "");
}

// ---- the bitrate of the response header

std::string bitrateBy(const std::deque<std::string>& header) {
  return Analysis(scriptOf(adtsFrames(someFrames)), header).value("bitrate");
}

TEST(AnalyzerAudioAdts, BitrateComesFromIcyBr) {
  EXPECT_EQ(bitrateBy({"icy-br: 128"}), "128000");
  EXPECT_EQ(bitrateBy({"ICY-BR:64\r\n"}), "64000");
}

TEST(AnalyzerAudioAdts, TheLastIcyBrWins) { EXPECT_EQ(bitrateBy({"icy-br: 128", "ICY-BR:64"}), "64000"); }

TEST(AnalyzerAudioAdts, IcyBrIsFoundAnywhereInALine) { EXPECT_EQ(bitrateBy({"x-Icy-Br \t: :\t96 kbit"}), "96000"); }

TEST(AnalyzerAudioAdts, IcyBrWithoutANumberIs0) {
  EXPECT_EQ(bitrateBy({"icy-br:"}), "0");
  EXPECT_EQ(bitrateBy({"icy-br: x128"}), "0");
  EXPECT_EQ(bitrateBy({"icy-br: 128", "icy-br: \r\n"}), "0");
}

TEST(AnalyzerAudioAdts, IcyBrMayHaveASign) {
  EXPECT_EQ(bitrateBy({"icy-br: +128"}), "128000");
  EXPECT_EQ(bitrateBy({"icy-br: -5"}), "-5000");
}

TEST(AnalyzerAudioAdts, IcyBrIsBase10) { EXPECT_EQ(bitrateBy({"icy-br: 0x20"}), "0"); }

TEST(AnalyzerAudioAdts, WithoutIcyBrThereIsNoBitrate) {
  EXPECT_EQ(bitrateBy({}), "");
  EXPECT_EQ(bitrateBy({"icy-name: br", "ice-audio-info: bitrate=96"}), "");
}

TEST(AnalyzerAudioAdts, AFailureToDeliverTheHeaderIsNoFailure) {
  const Analysis analysis(scriptOf(adtsFrames(someFrames)), {"icy-br: 128"}, -5);
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("bitrate"), "");
}

TEST(AnalyzerAudioAdts, IcyBrBeyond32BitsIsAnOverflow) {
  for (const char* number : {"2147483648", "-2147483649", "9223372036854775807", "99999999999999999999999"}) {
    const Analysis analysis(scriptOf(adtsFrames(someFrames)), {std::string("icy-br: ") + number});
    EXPECT_EQ(analysis.status, STATUS_OK);
    EXPECT_EQ(analysis.value("bitrate"), "");
    EXPECT_TRUE(analysis.logged("3000 analyzer_audio_adts:#:determineBitrate(): icy-br overflow.")) << number;
  }
}

TEST(AnalyzerAudioAdts, TheLargestIcyBrFits) {
  const Analysis analysis(scriptOf(adtsFrames(someFrames)), {"icy-br: 2147483647"});
  EXPECT_TRUE(analysis.logged("4000 analyzer_audio_adts:#:determineBitrate(): found icy-br = 2147483647."));
  EXPECT_EQ(analysis.value("bitrate"), "-1000") << "bit/s in 32 bits";
}

TEST(AnalyzerAudioAdts, TheSmallestIcyBrFits) {
  const Analysis analysis(scriptOf(adtsFrames(someFrames)), {"icy-br: -2147483648"});
  EXPECT_TRUE(analysis.logged("4000 analyzer_audio_adts:#:determineBitrate(): found icy-br = -2147483648."));
  EXPECT_EQ(analysis.value("bitrate"), "0") << "bit/s in 32 bits";
}

TEST(AnalyzerAudioAdts, AnOverflowLeavesTheBitrateOfTheLineBefore) {
  EXPECT_EQ(bitrateBy({"icy-br: 128", "icy-br: 2147483648"}), "128000");
  EXPECT_EQ(bitrateBy({"icy-br: 2147483648", "icy-br: 64"}), "64000");
}

// ---- the size

TEST(AnalyzerAudioAdts, AStreamOf10000BytesHasNoEnd) {
  const Analysis analysis(framesOfSize(10000));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_end"), "");
  EXPECT_NE(analysis.answer.find("can\n"), std::string::npos);
}

TEST(AnalyzerAudioAdts, AStreamOf10001BytesHasOne) {
  const Analysis analysis(framesOfSize(10001));
  EXPECT_EQ(analysis.value("data_end"), "10000");
  EXPECT_NE(analysis.answer.find("can seek speed pause\n"), std::string::npos);
}

TEST(AnalyzerAudioAdts, LiveRadioIsRecognised) {
  const Analysis analysis(liveScriptOf(adtsFrames(someFrames)), {"icy-br:96"});
  EXPECT_EQ(analysis.answer,
            "audio/aacp\n"
            "sampling_frequency 44100\n"
            "bitrate 96000\n"
            "data_start 0\n"
            "time_calc_start 0\n"
            "frame_size 16\n"
            "media_type 7\n"
            "can\n");
}

TEST(AnalyzerAudioAdts, AStreamThatCannotSeekHasAnEndOnly) {
  SourceScript script = scriptOf(adtsFrames(someFrames));
  script.seekable = false;
  EXPECT_NE(Analysis(script).answer.find("data_end 15999\nframe_size 16\nmedia_type 7\ncan\n"), std::string::npos);
}

TEST(AnalyzerAudioAdts, TheLargestSizeIsTaken) {
  SourceScript script = scriptOf(adtsFrames(someFrames));
  script.declaredSize = 0x7fffffffffffffffLL;
  EXPECT_EQ(Analysis(script).value("data_end"), "9223372036854775806");
}

}  // namespace
}  // namespace zu::md::common::quorin
