#include "formats/analyzer_audio_dlna_pcm.h"

#include <gtest/gtest.h>

#include "format_analysis.h"
#include "framework/status.h"
#include "support/bytes.h"
#include "support/wav_builder.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

using Analysis = FormatAnalysis<AnalyzerAudioDlnaPcm>;

const char* const notFound = "5000 AnalyzerAudioDlnaPcm::analyze() out not found. ";

SourceScript ofSize(long long size) {
  SourceScript script = scriptOf(filler(5000));
  script.declaredSize = size;
  return script;
}

Analysis analysisOf(const std::string& contentType, long long size = 1764001) {
  return Analysis(ofSize(size), {"HTTP/1.1 200 OK\r\n", "Content-Type: " + contentType + "\r\n"});
}

TEST(AnalyzerAudioDlnaPcm, CdAudioIsDescribed) {
  const Analysis analysis = analysisOf("audio/L16;rate=44100;channels=2");
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.answer,
            "audio/L16\n"
            "sampling_frequency 44100\n"
            "bitrate 1411000\n"
            "duration 10 0\n"
            "data_start 0\n"
            "time_calc_start 0\n"
            "data_end 1764000\n"
            "media_type 2\n"
            "channels 2\n"
            "can seek speed pause\n");
  EXPECT_EQ(analysis.playPosition(), 0);
}

TEST(AnalyzerAudioDlnaPcm, LogOfAStream) {
  EXPECT_EQ(analysisOf("audio/L16;rate=44100;channels=2").log,
            "4000 AnalyzerAudioDlnaPcm::analyze() in\n"
            "5000 Analyzer::Impl::parseHeader() Header=HTTP/1.1 200 OK\r\n"
            ".\n"
            "5000 Analyzer::Impl::parseHeader() Header=Content-Type: audio/L16;rate=44100;channels=2\r\n"
            ".\n"
            "5000 Analyzer::Impl::parseHeader() contentType=audio/L16;rate=44100;channels=2\r\n"
            ".\n"
            "4000 AnalyzerAudioDlnaPcm::analyze() token='audio/L16'\n"
            "4000 AnalyzerAudioDlnaPcm::analyze() token='rate=44100'\n"
            "5000 AnalyzerAudioDlnaPcm::analyze() s=44100 rate=44100\n"
            "4000 AnalyzerAudioDlnaPcm::analyze() token='channels=2'\n"
            "4000 AnalyzerAudioAdts::analyze(): DLNA PCM found. rate=44100 channels=2 bitpersample=16\n"
            "4000 debugPrint() sampling frequency: 44100 1\n"
            "4000 debugPrint() bitrate           : 1411 1\n"
            "4000 debugPrint() duration          : [10s+000000us] 1\n"
            "4000 debugPrint() start offset      : 0 1\n"
            "4000 debugPrint() time calc offset  : 0 0\n"
            "4000 debugPrint() end offset        : 1764000 1\n"
            "4000 debugPrint() frame size        : 0 0\n"
            "4000 debugPrint() media type        : 2 1\n"
            "4000 debugPrint() channels          : 2 1\n"
            "4000 debugPrint() can seek          : 1 \n"
            "4000 debugPrint() can setspeed      : 1 \n"
            "4000 debugPrint() can pause         : 1 \n"
            "5000 AnalyzerAudioDlnaPcm::analyze(): out ok\n");
}

TEST(AnalyzerAudioDlnaPcm, NeedsMediaAccess) {
  const Analysis analysis{boost::shared_ptr<strell::Strell>()};
  EXPECT_EQ(analysis.status, STATUS_NO_ARGUMENT);
  EXPECT_EQ(analysis.log,
            "4000 AnalyzerAudioDlnaPcm::analyze() in\n"
            "3000 AnalyzerAudioDlnaPcm::analyze() strell not set\n");
}

TEST(AnalyzerAudioDlnaPcm, ASourceWithoutAHeaderIsNotRecognised) {
  const Analysis analysis(filler(20000));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.log,
            "4000 AnalyzerAudioDlnaPcm::analyze() in\n"
            "5000 AnalyzerAudioDlnaPcm::analyze() out not found. \n");
}

TEST(AnalyzerAudioDlnaPcm, AFailureToDeliverTheHeaderLeavesNoContentType) {
  const Analysis analysis(ofSize(1764001), {"Content-Type: audio/L16;rate=44100"}, -5);
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged(notFound));
}

TEST(AnalyzerAudioDlnaPcm, LeavesTheInfoAloneWhenItDeclines) {
  const auto before = boost::make_shared<Info>();
  boost::shared_ptr<Info> info = before;
  const auto strell = Analysis::open(boost::make_shared<ScriptedSource>(scriptOf(filler(20000))));
  EXPECT_EQ(AnalyzerAudioDlnaPcm().analyze(strell, info), STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(info, before);
}

// ---- the content type

TEST(AnalyzerAudioDlnaPcm, TheContentTypeBeginsWithAudioL16InThisCase) {
  EXPECT_EQ(analysisOf("audio/L16;rate=44100").status, STATUS_OK);
  for (const char* other : {"audio/l16;rate=44100", "audio/L1", "Audio/L16;rate=44100", "x-audio/L16;rate=44100", ""}) {
    const Analysis analysis = analysisOf(other);
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT) << other;
    EXPECT_TRUE(analysis.logged(notFound));
    EXPECT_EQ(analysis.log.find("token"), std::string::npos);
  }
}

TEST(AnalyzerAudioDlnaPcm, ARateInTheFirstTokenIsNotAtItsStart) {
  EXPECT_EQ(analysisOf("audio/L16rate=44100").status, STATUS_NOT_THIS_FORMAT);
}

TEST(AnalyzerAudioDlnaPcm, ADataThatBeginsWithRiffIsLeftToTheWavAnalyzer) {
  const Analysis analysis(scriptOf(wavFile(20000)), {"Content-Type: audio/L16;rate=44100;channels=2"});
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.info, nullptr);
  const std::string last = "4000 AnalyzerAudioDlnaPcm::analyze() ignore PCM due to found RIFF/WAV header\n";
  EXPECT_EQ(analysis.log.substr(analysis.log.size() - last.size()), last);
}

TEST(AnalyzerAudioDlnaPcm, TheRiffHeaderIsLookedForAtTheStartOfTheStream) {
  const std::deque<std::string> header = {"Content-Type: audio/L16;rate=44100"};
  const auto strell = Analysis::open(boost::make_shared<ScriptedHttpSource>(scriptOf(wavFile(20000)), header));
  ASSERT_EQ(strell->setDataCacheOffset(10), 0);
  EXPECT_EQ(Analysis(strell).status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(Analysis(scriptOf(concat({filler(1), wavFile(20000)})), header).status, STATUS_OK);
}

TEST(AnalyzerAudioDlnaPcm, FourBytesMakeARiffHeader) {
  EXPECT_EQ(Analysis(scriptOf(text("RIFF")), {"Content-Type: audio/L16;rate=44100"}).status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(Analysis(scriptOf(text("RIFX")), {"Content-Type: audio/L16;rate=44100"}).status, STATUS_OK);
}

TEST(AnalyzerAudioDlnaPcm, DataThatCannotBeReadIsTakenAsPcm) {
  const Analysis analysis(scriptOf({'R', 'I', 'F'}), {"Content-Type: audio/L16;rate=44100"});
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_TRUE(
      analysis.logged("3000 AnalyzerAudioDlnaPcm::analyze():# error reading cached data ret=-1003 buffer=(nil)!\n"
                      "4000 AnalyzerAudioDlnaPcm::analyze() token='audio/L16'"));
}

// ---- the parameters

TEST(AnalyzerAudioDlnaPcm, WithoutChannelsTwoAreAssumed) {
  const Analysis analysis = analysisOf("audio/L16;rate=48000", 1920000);
  EXPECT_EQ(analysis.value("channels"), "");
  EXPECT_EQ(analysis.value("bitrate"), "1536000");
  EXPECT_EQ(analysis.value("duration"), "10 0");
}

TEST(AnalyzerAudioDlnaPcm, ABlankBeforeTheRateHidesIt) {
  const Analysis analysis = analysisOf("audio/L16; rate=44100");
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  const std::string last = "4000 AnalyzerAudioDlnaPcm::analyze() token=' rate=44100'\n";
  EXPECT_EQ(analysis.log.substr(analysis.log.size() - last.size()), last) << "this way out is silent";
}

TEST(AnalyzerAudioDlnaPcm, ARateThatIsNoNumberIsIgnoredSilently) {
  for (const char* rate : {"abc", "", "44100 ", " 44100", "44100Hz", "0xac44", "44.1", "2147483648", "-2147483649"}) {
    const Analysis analysis = analysisOf(std::string("audio/L16;rate=") + rate);
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT) << rate;
    const std::string last = std::string("4000 AnalyzerAudioDlnaPcm::analyze() token='rate=") + rate + "'\n";
    EXPECT_EQ(analysis.log.substr(analysis.log.size() - last.size()), last);
  }
}

TEST(AnalyzerAudioDlnaPcm, ARateMayHaveASign) {
  EXPECT_EQ(analysisOf("audio/L16;rate=+44100").value("sampling_frequency"), "44100");
  EXPECT_EQ(analysisOf("audio/L16;rate=-44100").value("sampling_frequency"), "-44100");
  EXPECT_EQ(analysisOf("audio/L16;rate=-44100").value("duration"), "-10 0");
  EXPECT_EQ(analysisOf("audio/L16;rate=-44100").value("bitrate"), "-1411000") << "truncated toward zero";
}

TEST(AnalyzerAudioDlnaPcm, KeysAreInLowerCaseAtTheStartOfAToken) {
  EXPECT_EQ(analysisOf("audio/L16;Rate=44100").status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysisOf("audio/L16;xrate=44100").status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysisOf("audio/L16;rate=44100;Channels=1").value("channels"), "");
}

TEST(AnalyzerAudioDlnaPcm, TheLastOfTwoRatesWins) {
  EXPECT_EQ(analysisOf("audio/L16;rate=44100;rate=48000").value("sampling_frequency"), "48000");
  EXPECT_EQ(analysisOf("audio/L16;rate=44100;rate=x").value("sampling_frequency"), "44100");
  EXPECT_EQ(analysisOf("audio/L16;rate=44100;channels=1;channels=6").value("channels"), "6");
}

TEST(AnalyzerAudioDlnaPcm, ParametersComeInAnyOrder) {
  const Analysis analysis = analysisOf("audio/L16;channels=1;rate=44100");
  EXPECT_EQ(analysis.value("channels"), "1");
  EXPECT_EQ(analysis.value("sampling_frequency"), "44100");
  EXPECT_EQ(analysis.value("bitrate"), "705000");
}

TEST(AnalyzerAudioDlnaPcm, ARunOfSemicolonsIsOneSeparator) {
  const Analysis analysis = analysisOf("audio/L16;;;rate=44100;;");
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_TRUE(
      analysis.logged("4000 AnalyzerAudioDlnaPcm::analyze() token='audio/L16'\n"
                      "4000 AnalyzerAudioDlnaPcm::analyze() token='rate=44100'\n"
                      "5000 AnalyzerAudioDlnaPcm::analyze() s=44100 rate=44100\n"
                      "4000 AnalyzerAudioDlnaPcm::analyze() token=''\n"
                      "4000 AnalyzerAudioAdts::analyze(): DLNA PCM found. rate=44100 channels=2 bitpersample=16"));
}

TEST(AnalyzerAudioDlnaPcm, ChannelsThatAreNoNumberAreLoggedAtTheMostSevereLevel) {
  const Analysis analysis = analysisOf("audio/L16;rate=44100;channels=x");
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_TRUE(
      analysis.logged("4000 AnalyzerAudioDlnaPcm::analyze() token='channels=x'\n"
                      "1000 AnalyzerAudioDlnaPcm::analyze() can't analyse channels=channels=x\n"
                      "4000 AnalyzerAudioAdts::analyze(): DLNA PCM found. rate=44100 channels=2 bitpersample=16"));
  EXPECT_EQ(analysis.value("channels"), "");
  EXPECT_EQ(analysis.value("bitrate"), "1411000");
}

TEST(AnalyzerAudioDlnaPcm, ChannelsAreConvertedLikeTheRate) {
  for (const char* channels : {"", " 1", "1 ", "1ch", "2147483648", "-2147483649"}) {
    const std::string token = std::string("channels=") + channels;
    const Analysis analysis = analysisOf("audio/L16;rate=44100;channels=1;" + token);
    EXPECT_TRUE(analysis.logged("1000 AnalyzerAudioDlnaPcm::analyze() can't analyse channels=" + token)) << token;
    EXPECT_EQ(analysis.value("channels"), "1") << token;
  }
  EXPECT_EQ(analysisOf("audio/L16;rate=44100;channels=-1").value("channels"), "-1");
  EXPECT_EQ(analysisOf("audio/L16;rate=44100;channels=2147483647").value("channels"), "2147483647");
}

TEST(AnalyzerAudioDlnaPcm, ChannelsOf0GiveADurationOf0) {
  const Analysis analysis = analysisOf("audio/L16;rate=44100;channels=0");
  EXPECT_EQ(analysis.value("channels"), "0");
  EXPECT_EQ(analysis.value("bitrate"), "0");
  EXPECT_EQ(analysis.value("duration"), "0 0");
  EXPECT_TRUE(
      analysis.logged("1000 AnalyzerAudioDlnaPcm::analyze() cannot calc duration:channels=0, rate=44100\n"
                      "4000 AnalyzerAudioAdts::analyze(): DLNA PCM found. rate=44100 channels=0 bitpersample=16"));
  EXPECT_NE(analysis.answer.find("can seek speed pause\n"), std::string::npos);
}

TEST(AnalyzerAudioDlnaPcm, ARateOf0GivesADurationOf0) {
  const Analysis analysis = analysisOf("audio/L16;rate=0;channels=2");
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("duration"), "0 0");
  EXPECT_TRUE(analysis.logged("1000 AnalyzerAudioDlnaPcm::analyze() cannot calc duration:channels=2, rate=0"));
}

// ---- arithmetic at its edges

TEST(AnalyzerAudioDlnaPcm, AProductThatWrapsTo0GivesADurationOf0) {
  const Analysis analysis = analysisOf("audio/L16;rate=65536;channels=32768");
  EXPECT_EQ(analysis.value("bitrate"), "0");
  EXPECT_EQ(analysis.value("duration"), "0 0");
  EXPECT_EQ(analysis.log.find("cannot calc duration"), std::string::npos);
}

TEST(AnalyzerAudioDlnaPcm, TheProductWrapsIn32Bits) {
  // 2147483647 * 2 * 2 is -4: no whole kbit/s, and 10001 / -4 truncates toward zero
  const Analysis analysis = analysisOf("audio/L16;rate=2147483647", 10001);
  EXPECT_EQ(analysis.value("bitrate"), "0");
  EXPECT_EQ(analysis.value("duration"), "-2500 0");
}

TEST(AnalyzerAudioDlnaPcm, SecondsAreCutTo32Bits) {
  const Analysis sign = analysisOf("audio/L16;rate=1;channels=1", 2 * 2147483648LL);
  EXPECT_EQ(sign.value("duration"), "-2147483648 0");
  const Analysis cut = analysisOf("audio/L16;rate=1;channels=1", 2 * (4294967296LL + 7));
  EXPECT_EQ(cut.value("duration"), "7 0");
  const Analysis fits = analysisOf("audio/L16;rate=1;channels=1", 2 * 2147483647LL);
  EXPECT_EQ(fits.value("duration"), "2147483647 0");
}

TEST(AnalyzerAudioDlnaPcm, TheLargestSizeIsTaken) {
  const Analysis analysis = analysisOf("audio/L16;rate=44100", 0x7fffffffffffffffLL);
  EXPECT_EQ(analysis.value("data_end"), "9223372036854775806");
  EXPECT_EQ(analysis.value("duration"), "-242310174 0");
}

// ---- the size

TEST(AnalyzerAudioDlnaPcm, ALiveStreamIsRecognised) {
  const Analysis analysis(liveScriptOf(filler(5000)), {"Content-Type: audio/L16;rate=44100"});
  EXPECT_EQ(analysis.answer,
            "audio/L16\n"
            "sampling_frequency 44100\n"
            "data_start 0\n"
            "time_calc_start 0\n"
            "media_type 2\n"
            "can\n");
}

TEST(AnalyzerAudioDlnaPcm, AStreamOf10000BytesHasNothingThatTakesTheSize) {
  const Analysis analysis = analysisOf("audio/L16;rate=0;channels=2", 10000);
  EXPECT_EQ(analysis.answer,
            "audio/L16\n"
            "sampling_frequency 0\n"
            "data_start 0\n"
            "time_calc_start 0\n"
            "media_type 2\n"
            "channels 2\n"
            "can\n");
  EXPECT_EQ(analysis.log.find("cannot calc duration"), std::string::npos);
}

TEST(AnalyzerAudioDlnaPcm, AStreamOf10001BytesHasAll) {
  const Analysis analysis = analysisOf("audio/L16;rate=1000;channels=1", 10001);
  EXPECT_EQ(analysis.value("data_end"), "10000");
  EXPECT_EQ(analysis.value("duration"), "5 0");
  EXPECT_NE(analysis.answer.find("can seek speed pause\n"), std::string::npos);
}

TEST(AnalyzerAudioDlnaPcm, AStreamThatCannotSeekHasEverythingElse) {
  SourceScript script = ofSize(1764001);
  script.seekable = false;
  const Analysis analysis(script, {"Content-Type: audio/L16;rate=44100"});
  EXPECT_EQ(analysis.value("duration"), "10 0");
  EXPECT_NE(analysis.answer.find("can\n"), std::string::npos);
}

}  // namespace
}  // namespace zu::md::common::quorin
