// Raw PCM, and the order in which the analyzers are asked.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <sstream>

#include "analysis.h"
#include "formats/analyzer_audio_adts.h"
#include "framework/status.h"
#include "support/adts_builder.h"
#include "support/encoders.h"
#include "unit/format_analysis.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

/// An answer about `bytes` that a server sends with this content type.
Analysis served(const std::string& contentType, const Bytes& bytes, int mode = Analyzer::MODE_AUDIO) {
  SourceScript script;
  script.bytes = bytes;
  const ScriptedScheme scheme("served", [&](const std::string&) {
    return ScriptedScheme::Answer{
        0, boost::make_shared<ScriptedHttpSource>(
               script, std::deque<std::string>{"HTTP/1.1 200 OK\r\n", "Content-Type: " + contentType + "\r\n"})};
  });
  return Analysis("served:item", mode);
}

TEST(RealDlnaPcm, RawSamplesAreDescribedInEveryMode) {
  const std::string path = freshPath(".raw");
  outputOf({"sox", wave(), "-t", "raw", "-B", path});
  for (const int mode : {Analyzer::MODE_NONE, Analyzer::MODE_AUDIO}) {
    const Analysis analysis = served("audio/L16;rate=44100;channels=2", readFile(path), mode);
    EXPECT_EQ(analysis.answer,
              "audio/L16\nsampling_frequency 44100\nbitrate 1411000\nduration 3 0\ndata_start 0\ntime_calc_start 0\n"
              "data_end 529199\nmedia_type 2\nchannels 2\ncan seek speed pause\n");
  }
}

TEST(Chain, AWaveFileServedAsPcmGoesToTheWavAnalyzer) {
  const Bytes file = readFile(wave());
  EXPECT_EQ(served("audio/L16;rate=44100;channels=2", file).value("media_type"), "3");
  EXPECT_EQ(served("audio/L16;rate=44100;channels=2", file, Analyzer::MODE_NONE).answer, "application/unknown\n");
}

TEST(Chain, WithoutTheAudioModeOnlyPcmIsKnown) {
  for (const std::string& path : {wave(), flac(wave())}) {
    const Analysis analysis(path, Analyzer::MODE_NONE);
    EXPECT_EQ(analysis.answer, "application/unknown\n");
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  }
}

// Two MPEG frame headers in the distance of their frame size, by chance inside of AAC frames, are enough.
TEST(Chain, AacThatHoldsTwoMpegHeadersGoesToTheMpegAnalyzer) {
  const Bytes aac = adtsFrames(1000);
  EXPECT_EQ(served("audio/aac", aac).value("media_type"), "7");
  const Bytes header = {0xff, 0xfb, 0x90, 0x00};
  const Bytes unlucky = overlay(overlay(aac, 8, header), 8 + 417, header);
  EXPECT_EQ(FormatAnalysis<AnalyzerAudioAdts>(unlucky).status, 0);
  EXPECT_EQ(served("audio/aac", unlucky).value("media_type"), "0");
}

TEST(Chain, AsksInItsOrder) {
  const Analysis analysis = served("audio/x-nothing", filler(20000));
  std::vector<std::string> asked;
  std::istringstream lines(analysis.log);
  for (std::string line; std::getline(lines, line);) {
    const size_t end = line.find("::analyze() in");
    if (end != std::string::npos) {
      asked.push_back(line.substr(5, end - 5));
    }
  }
  EXPECT_EQ(asked, (std::vector<std::string>{"AnalyzerAudioDlnaPcm", "AnalyzerAudioWav", "AnalyzerAudioFlac",
                                             "AnalyzerAudioMp3", "AnalyzerAudioAdts"}));
}

}  // namespace
}  // namespace zu::md::common::quorin
