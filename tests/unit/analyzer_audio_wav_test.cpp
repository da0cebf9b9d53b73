#include "formats/analyzer_audio_wav.h"

#include <gtest/gtest.h>

#include <limits>

#include "format_analysis.h"
#include "framework/status.h"
#include "support/bytes.h"
#include "support/wav_builder.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

using Analysis = FormatAnalysis<AnalyzerAudioWav>;

constexpr size_t someSize = 20000;  // bytes; makes a real file
constexpr size_t headOfSeekable = 65536;

const char* const noHeaderFound = "4000 AnalyzerAudioWav::analyze(): no WAV header found";
const char* const notSuccessful = "4000 AnalyzerAudioWav::analyze(): analyzing WAV not successfull";
const char* const notFound = "5000 AnalyzerAudioWav::analyze() out not found. ";

std::string readError(const std::string& operation, int line) {
  return "3000 AnalyzerAudioWav::" + operation + "():" + std::to_string(line) +
         " error reading cached data ret=-1003 buffer=(nil)!";
}

SourceScript ofSize(SourceScript script, long long size) {
  script.declaredSize = size;
  return script;
}

WavFormat withByteRate(unsigned long rate) {
  WavFormat format;
  format.byteRate = rate;
  return format;
}

TEST(AnalyzerAudioWav, CdAudioIsDescribed) {
  const Analysis analysis(ofSize(scriptOf(wavFile(someSize)), 1764044));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.answer,
            "audio/x-wav\n"
            "sampling_frequency 44100\n"
            "bitrate 1411000\n"
            "duration 10 0\n"
            "data_start 0\n"
            "time_calc_start 0\n"
            "data_end 1764043\n"
            "media_type 3\n"
            "can seek speed pause\n");
}

TEST(AnalyzerAudioWav, LogOfAFile) {
  EXPECT_EQ(Analysis(wavFile(someSize)).log,
            "4000 AnalyzerAudioWav::analyze() in\n"
            "5000 AnalyzerAudioWav::scanRiff()\n"
            "5000 AnalyzerAudioWav::scanRiff() found at cache offset: 0 (0x00)\n"
            "5000 AnalyzerAudioWav::checkRiff()\n"
            "5000 AnalyzerAudioWav::checkRiff(): found RIFF header. size=19992\n"
            "5000 AnalyzerAudioWav::checkList() offset=12\n"
            "5000 AnalyzerAudioWav::checkWave() offset=12\n"
            "5000 AnalyzerAudioWav::checkWave(): found WAVE header\n"
            "5000 AnalyzerAudioWav::checkWave(): found PCM audio\n"
            "5000 AnalyzerAudioWav::checkPcm()\n"
            "5000 AnalyzerBase::skipData():# to offset 0.\n"
            "5000 AnalyzerBase::skipData():# skipping 0 bytes.\n"
            "4000 AnalyzerAudioWav::analyze(): FLAC found\n"
            "4000 debugPrint() sampling frequency: 44100 1\n"
            "4000 debugPrint() bitrate           : 1411 1\n"
            "4000 debugPrint() duration          : [0s+000000us] 1\n"
            "4000 debugPrint() start offset      : 0 1\n"
            "4000 debugPrint() time calc offset  : 0 0\n"
            "4000 debugPrint() end offset        : 19999 1\n"
            "4000 debugPrint() frame size        : 0 0\n"
            "4000 debugPrint() media type        : 3 1\n"
            "4000 debugPrint() channels          : 0 0\n"
            "4000 debugPrint() can seek          : 1 \n"
            "4000 debugPrint() can setspeed      : 1 \n"
            "4000 debugPrint() can pause         : 1 \n"
            "5000 AnalyzerAudioWav::analyze(): out ok\n");
}

TEST(AnalyzerAudioWav, LogOfAnotherFormat) {
  EXPECT_EQ(Analysis(filler(someSize)).log,
            "4000 AnalyzerAudioWav::analyze() in\n"
            "5000 AnalyzerAudioWav::scanRiff()\n"
            "4000 AnalyzerAudioWav::analyze(): no WAV header found\n"
            "5000 AnalyzerAudioWav::analyze() out not found. \n");
}

TEST(AnalyzerAudioWav, LogOfAnEmptyStream) {
  const Analysis analysis{Bytes()};
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.exactLog,
            "4000 AnalyzerAudioWav::analyze() in\n"
            "5000 AnalyzerAudioWav::scanRiff()\n"
            "3000 AnalyzerAudioWav::scanRiff():323 error reading cached data ret=-1003 buffer=(nil)!\n"
            "4000 AnalyzerAudioWav::analyze(): no WAV header found\n"
            "5000 AnalyzerAudioWav::analyze() out not found. \n");
}

TEST(AnalyzerAudioWav, NeedsMediaAccess) {
  const Analysis analysis{boost::shared_ptr<strell::Strell>()};
  EXPECT_EQ(analysis.status, STATUS_NO_ARGUMENT);
  EXPECT_EQ(analysis.log,
            "4000 AnalyzerAudioWav::analyze() in\n"
            "3000 AnalyzerAudioWav::analyze() strell not set\n");
}

TEST(AnalyzerAudioWav, ServesOneStreamAfterTheOther) {
  AnalyzerAudioWav analyzer;
  const auto analyze = [&analyzer](const Bytes& bytes) {
    const auto strell = Analysis::open(boost::make_shared<ScriptedSource>(scriptOf(bytes)));
    boost::shared_ptr<Info> info;
    analyzer.analyze(strell, info);
    EXPECT_EQ(strell.use_count(), 1) << "the analyzer holds on to the source";
    return describe(info.get());
  };
  const std::string first = analyze(wavFile(someSize));
  EXPECT_EQ(analyze(filler(someSize)), "none\n");
  EXPECT_EQ(analyze(wavFile(someSize)), first);
}

TEST(AnalyzerAudioWav, LeavesTheInfoAloneWhenItDeclines) {
  const auto before = boost::make_shared<Info>();
  boost::shared_ptr<Info> info = before;
  const auto strell = Analysis::open(boost::make_shared<ScriptedSource>(scriptOf(filler(someSize))));
  EXPECT_EQ(AnalyzerAudioWav().analyze(strell, info), STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(info, before);
}

// ---- the RIFF header

TEST(AnalyzerAudioWav, ARiffHeaderAtOffset1023IsExamined) {
  const Analysis analysis(concat({filler(1023), wavFile(someSize)}));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_start"), "1023");
  EXPECT_EQ(analysis.value("time_calc_start"), "1023");
  EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioWav::scanRiff() found at cache offset: 1023 (0x3ff)"));
  EXPECT_EQ(analysis.playPosition(), 1023);
  EXPECT_EQ(analysis.strell->getDataCacheOffset(), 1023U + 12) << "on the format chunk";
}

TEST(AnalyzerAudioWav, ARiffHeaderAtOffset1024IsNot) {
  const Analysis analysis(concat({filler(1024), wavFile(someSize)}));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged(noHeaderFound));
}

TEST(AnalyzerAudioWav, TheSearchIsBoundedBy1024) { EXPECT_EQ(AnalyzerAudioWav::maxScan, 1024U); }

TEST(AnalyzerAudioWav, AnotherFormTypeIsPassedOver) {
  const Analysis analysis(concat({riffHeader("AVI "), filler(50), wavFile(someSize)}));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_start"), "62");
  EXPECT_TRUE(
      analysis.logged("5000 AnalyzerAudioWav::checkRiff(): found RIFF header. size=1000\n"
                      "3000 AnalyzerAudioWav::checkRiff(): found RIFF header, but did not recognize format 'AVI '\n" +
                      std::string(notSuccessful)));
}

TEST(AnalyzerAudioWav, TheSearchGoesOnOneByteBehindARejectedHeader) {
  // "RIFF" again inside the header that is rejected
  const Analysis analysis(concat({text("RIFF"), filler(1), wavFile(someSize)}));
  EXPECT_EQ(analysis.value("data_start"), "5");
}

TEST(AnalyzerAudioWav, TheSearchGoesOnOneByteBehindAHeaderWithoutFormat) {
  const Analysis analysis(concat({riffHeader(), wavFile(someSize)}));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_start"), "12");
}

TEST(AnalyzerAudioWav, TheSizeInTheHeaderIsOnlyLogged) {
  Bytes file = overlay(wavFile(someSize), 4, littleEndian(0xfffffffe, 4));
  const Analysis analysis(file);
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioWav::checkRiff(): found RIFF header. size=4294967294"));
}

// ---- what follows it

/// A file with `chunks` between the RIFF header and the format chunk.
Bytes withChunks(const Bytes& chunks) { return concat({riffHeader(), chunks, wavFormat(), filler(someSize)}); }

TEST(AnalyzerAudioWav, OneListChunkIsSteppedOver) {
  const Analysis analysis(withChunks(riffChunk("LIST", filler(100))));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_start"), "0");
  EXPECT_TRUE(
      analysis.logged("5000 AnalyzerAudioWav::checkList() offset=12\n"
                      "5000 AnalyzerAudioWav::checkList(): found LIST chunk. size=100\n"
                      "5000 AnalyzerAudioWav::checkWave() offset=120\n"
                      "5000 AnalyzerAudioWav::checkWave(): found WAVE header"));
}

TEST(AnalyzerAudioWav, TwoListChunksAreNot) {
  const Analysis analysis(withChunks(concat({riffChunk("LIST", filler(10)), riffChunk("LIST", filler(10))})));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged(std::string("5000 AnalyzerAudioWav::checkWave() offset=30\n") + notSuccessful));
  EXPECT_TRUE(analysis.logged(noHeaderFound)) << "the search goes on";
}

TEST(AnalyzerAudioWav, AnyOtherChunkBeforeTheFormatIsNotSteppedOver) {
  for (const char* identifier : {"JUNK", "bext", "fact", "list", "fmt\0"}) {
    const Analysis analysis(withChunks(riffChunk(std::string_view(identifier, 4), filler(100))));
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT) << identifier;
    EXPECT_TRUE(analysis.logged(noHeaderFound));
  }
}

TEST(AnalyzerAudioWav, AListChunkOfOddSizeHasNoPadByte) {
  EXPECT_EQ(Analysis(withChunks(riffChunk("LIST", filler(101)))).status, STATUS_OK);
  EXPECT_EQ(Analysis(withChunks(concat({riffChunk("LIST", filler(101)), filler(1)}))).status, STATUS_NOT_THIS_FORMAT);
}

TEST(AnalyzerAudioWav, AListChunkUpToTheEndOfTheCacheIsSteppedOver) {
  const size_t fits = headOfSeekable - 12 - 8 - 32;
  EXPECT_EQ(Analysis(withChunks(riffChunk("LIST", filler(fits)))).status, STATUS_OK);
  EXPECT_EQ(Analysis(withChunks(riffChunk("LIST", filler(fits + 1)))).status, STATUS_NOT_THIS_FORMAT);
}

TEST(AnalyzerAudioWav, AListChunkOf4GiBLeadsNowhere) {
  const Bytes list = concat({text("LIST"), littleEndian(0xfffffff0, 4), filler(4)});
  const Analysis analysis(withChunks(list));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(
      analysis.logged("5000 AnalyzerAudioWav::checkList(): found LIST chunk. size=4294967280\n"
                      "5000 AnalyzerAudioWav::checkWave() offset=4"));
}

// ---- the format

TEST(AnalyzerAudioWav, OtherFormatsThanPcmEndTheSearch) {
  for (const unsigned format : {0U, 2U, 3U, 0x55U, 0xfffeU, 0xffffU}) {
    WavFormat other;
    other.audioFormat = format;
    const Analysis analysis(concat({head(wavFile(100, other), 100), wavFile(someSize)}));
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT) << format;
    EXPECT_TRUE(
        analysis.logged("5000 AnalyzerAudioWav::checkWave(): found WAVE header\n"
                        "3000 AnalyzerAudioWav::checkWave(): wave audio format " +
                        std::to_string(format) + " not supported\n" + notFound));
    EXPECT_EQ(analysis.log.find(notSuccessful), std::string::npos) << "the file counts as found";
  }
}

TEST(AnalyzerAudioWav, NumbersAreLittleEndian) {
  WavFormat format;
  format.sampleRate = 0x00010203;
  const Analysis analysis(wavFile(someSize, format));
  EXPECT_EQ(analysis.value("sampling_frequency"), std::to_string(0x00010203));
}

TEST(AnalyzerAudioWav, ASampleRateBeyond31BitsReadsAsNegative) {
  WavFormat format;
  format.sampleRate = 0xffffffff;
  EXPECT_EQ(Analysis(wavFile(someSize, format)).value("sampling_frequency"), "-1");
}

TEST(AnalyzerAudioWav, BitrateWrapsIn32Bits) {
  EXPECT_EQ(Analysis(wavFile(someSize, withByteRate(0x1fffffff))).value("bitrate"), "-296")
      << "4294967 kbit/s, in bit/s of 32 bits";
  EXPECT_EQ(Analysis(wavFile(someSize, withByteRate(0x20000000 + 1000))).value("bitrate"), "8000");
}

TEST(AnalyzerAudioWav, DurationDividesByTheWrappedRate) {
  const Analysis analysis(ofSize(scriptOf(wavFile(someSize, withByteRate(0x20000000 + 1000))), 100000));
  EXPECT_EQ(analysis.value("duration"), "100 0");
}

TEST(AnalyzerAudioWav, AByteRateOf0GivesADurationOf0) {
  const Analysis analysis(wavFile(someSize, withByteRate(0)));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("bitrate"), "0");
  EXPECT_EQ(analysis.value("duration"), "0 0");
}

TEST(AnalyzerAudioWav, ARateThatWrapsTo0GivesADurationOf0) {
  const Analysis analysis(wavFile(someSize, withByteRate(0x20000000)));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("bitrate"), "0");
  EXPECT_EQ(analysis.value("duration"), "0 0");
}

TEST(AnalyzerAudioWav, DurationNeeds64Bits) {
  const Analysis analysis(ofSize(scriptOf(wavFile(someSize, withByteRate(1))), 10000000000));
  EXPECT_EQ(analysis.value("duration"), "10000000000 0");
}

TEST(AnalyzerAudioWav, TheLargestSizeWraps) {
  const Analysis analysis(ofSize(scriptOf(wavFile(someSize, withByteRate(1))), std::numeric_limits<long long>::max()));
  EXPECT_EQ(analysis.value("duration"), "-1 0") << "(2^63 - 1) * 8 is -8 in 64 bits";
  EXPECT_EQ(analysis.value("data_end"), "9223372036854775806");
}

// ---- the size

TEST(AnalyzerAudioWav, ASourceOf10000BytesHasAnEndOnly) {
  const Analysis analysis(wavFile(10000));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_end"), "9999");
  EXPECT_NE(analysis.answer.find("can\n"), std::string::npos);
}

TEST(AnalyzerAudioWav, ASourceOf10001BytesCanSeek) {
  const Analysis analysis(wavFile(10001));
  EXPECT_EQ(analysis.value("data_end"), "10000");
  EXPECT_NE(analysis.answer.find("can seek speed pause\n"), std::string::npos);
}

TEST(AnalyzerAudioWav, ASourceThatCannotSeekHasAnEndOnly) {
  SourceScript script = scriptOf(wavFile(someSize));
  script.seekable = false;
  EXPECT_NE(Analysis(script).answer.find("data_end 19999\nmedia_type 3\ncan\n"), std::string::npos);
}

TEST(AnalyzerAudioWav, ASourceThatDoesNotTellWhetherItSeeksHasAnEndOnly) {
  SourceScript script = scriptOf(wavFile(someSize));
  script.seekableFault = -5;
  EXPECT_NE(Analysis(script).answer.find("data_end 19999\nmedia_type 3\ncan\n"), std::string::npos);
}

TEST(AnalyzerAudioWav, ASourceOfUnknownSizeIsNotRecognised) {
  const Analysis analysis(liveScriptOf(wavFile(someSize)));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged(std::string("5000 AnalyzerAudioWav::checkPcm()\n") + notFound));
}

// ---- the numbers in the lines of failed reads

TEST(AnalyzerAudioWav, ATruncatedRiffHeaderIsLine257) {
  for (const size_t there : {4U, 11U}) {
    const Analysis analysis(head(wavFile(someSize), there));
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
    EXPECT_TRUE(analysis.loggedExactly(readError("checkRiff", 257) + "\n" + notSuccessful)) << there;
  }
}

TEST(AnalyzerAudioWav, TruncatedChunksAreLines219And171) {
  for (const size_t there : {12U, 23U}) {
    const Analysis analysis(head(wavFile(someSize), there));
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
    EXPECT_TRUE(analysis.loggedExactly(readError("checkList", 219) +
                                       "\n5000 AnalyzerAudioWav::checkWave() offset=12\n" +
                                       readError("checkWave", 171) + "\n" + notSuccessful))
        << there;
  }
}

TEST(AnalyzerAudioWav, ATruncatedFormatIsLine171) {
  const Analysis analysis(head(wavFile(someSize), 43));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.loggedExactly(readError("checkWave", 171) + "\n" + notSuccessful));
  EXPECT_EQ(Analysis(head(wavFile(someSize), 44)).status, STATUS_OK);
}

TEST(AnalyzerAudioWav, AStartBehindTheReadPositionIsLine397AndNoFailure) {
  const auto strell = Analysis::open(boost::make_shared<ScriptedSource>(scriptOf(wavFile(someSize))));
  unsigned char played[10];
  unsigned int count = 0;
  std::vector<strell::IcyData> icy;
  ASSERT_EQ(strell->readData(played, sizeof played, count, icy), 0);
  const Analysis analysis(strell);
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_TRUE(
      analysis.loggedExactly("3000 AnalyzerAudioWav::analyze():397 error skipping header. err=-1!\n"
                             "4000 AnalyzerAudioWav::analyze(): FLAC found"));
}

}  // namespace
}  // namespace zu::md::common::quorin
