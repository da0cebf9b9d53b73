// WAV by real encoders: what is said about it, held against what other programs say.

#include <gtest/gtest.h>

#include "analysis.h"
#include "formats/analyzer_audio_wav.h"
#include "framework/status.h"
#include "support/encoders.h"
#include "unit/format_analysis.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

void expectPcm(const Analysis& analysis, const std::string& path) {
  EXPECT_EQ(analysis.answer, "audio/x-wav\nsampling_frequency " + mediainfo(path, "SamplingRate") + "\nbitrate " +
                                 std::to_string(std::stoi(probed(path, "stream=bit_rate")) / 1000) +
                                 "000\nduration 3 0\ndata_start 0\ntime_calc_start 0\ndata_end " +
                                 std::to_string(readFile(path).size() - 1) + "\nmedia_type 3\ncan seek speed pause\n");
  EXPECT_EQ(mediainfo(path, "Duration"), "3000");
  expectSoundPlaying(analysis.result->strell, path);
}

TEST(RealWav, PlainPcmOfEveryWidthRateAndNumberOfChannels) {
  for (const std::string bits : {"8", "16", "24", "32"}) {
    const std::string path = sox(wave(), {"-b", bits, "-t", "wavpcm"}, ".wav");
    EXPECT_EQ(mediainfo(path, "BitDepth"), bits);
    expectPcm(Analysis(path), path);
  }
  for (const unsigned rate : {8000U, 48000U, 96000U}) {
    for (const unsigned channels : {1U, 6U}) {
      const std::string path = sox(wave(rate, channels), {"-t", "wavpcm"}, ".wav");
      expectPcm(Analysis(path), path);
    }
  }
}

TEST(RealWav, AListChunkBehindTheFormatIsStepped) {
  const std::string path = ffmpeg(wave(), {"-metadata", "title=Opening"}, ".wav");
  EXPECT_EQ(slice(readFile(path), 36, 4), text("LIST"));
  expectPcm(Analysis(path), path);
}

TEST(RealWav, ALeadingListChunkIsStepped) {
  const Bytes file = readFile(wave());
  const Bytes list = {'L', 'I', 'S', 'T', 4, 0, 0, 0, 'I', 'N', 'F', 'O'};
  const std::string path = writtenFile(".wav", concat({head(file, 12), list, Bytes(file.begin() + 12, file.end())}));
  expectPcm(Analysis(path), path);
}

TEST(RealWav, TheDurationCountsTheHeaderUnlikeThatOfMediainfo) {
  const std::string path = wave(8000, 1, {"2.9975", "sine", "440"});  // 40 bytes less than three seconds
  EXPECT_EQ(readFile(path).size(), 3U * 16000 - 40 + 44);
  EXPECT_EQ(mediainfo(path, "Duration"), "2998");
  EXPECT_EQ(Analysis(path).value("duration"), "3 0");
}

TEST(RealWav, TheDurationIsOfWholeSecondsUnlikeThatOfMediainfo) {
  const std::string path = wave(44100, 2, {"1.75", "sine", "440"});
  EXPECT_EQ(mediainfo(path, "Duration"), "1750");
  EXPECT_EQ(Analysis(path).value("duration"), "1 0");
}

TEST(RealWav, ChannelsAreNotToldUnlikeByMediainfo) {
  const std::string path = wave(44100, 1);
  EXPECT_EQ(mediainfo(path, "Channels"), "1");
  EXPECT_EQ(Analysis(path).value("channels"), "");
}

TEST(RealWav, WhatIsNotPlainPcmIsRefused) {
  struct {
    Options encoding;
    const char* format;
  } const refused[] = {{{"-e", "floating-point", "-b", "32"}, "3"},
                       {{"-e", "a-law"}, "6"},
                       {{"-e", "mu-law"}, "7"},
                       {{"-e", "ms-adpcm"}, "2"},
                       {{"-b", "24"}, "65534"}};  // extensible
  for (const auto& [encoding, format] : refused) {
    // By this analyzer alone: those of other formats may take compressed samples for their own.
    const FormatAnalysis<AnalyzerAudioWav> analysis(readFile(sox(wave(), encoding, ".wav")));
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
    EXPECT_EQ(analysis.answer, "none\n");
    EXPECT_TRUE(analysis.logged(std::string("3000 AnalyzerAudioWav::checkWave(): wave audio format ") + format +
                                " not supported"));
  }
}

TEST(RealWav, FloatAndExtensibleAreUnknownToAllAnalyzers) {
  EXPECT_EQ(Analysis(sox(wave(), {"-e", "floating-point", "-b", "32"}, ".wav")).answer, "application/unknown\n");
  EXPECT_EQ(Analysis(sox(wave(), {"-b", "24"}, ".wav")).answer, "application/unknown\n");
}

}  // namespace
}  // namespace zu::md::common::quorin
