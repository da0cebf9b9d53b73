// ADTS by a real encoder: what is said about it, held against what other programs say.

#include <gtest/gtest.h>

#include "formats/analyzer_audio_adts.h"
#include "support/encoders.h"
#include "unit/format_analysis.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

// By this analyzer alone: the one of MPEG audio, which is asked first, takes some of these files for its own.
using AdtsAnalysis = FormatAnalysis<AnalyzerAudioAdts>;

struct AdtsSound {
  unsigned rate;
  unsigned channels;
};

void expectAdts(const AdtsAnalysis& analysis, const std::string& path) {
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("sampling_frequency"), probed(path, "stream=sample_rate"));
  EXPECT_EQ(analysis.value("sampling_frequency"), mediainfo(path, "SamplingRate"));
  EXPECT_EQ(analysis.value("frame_size"), probed(path, "packet=size"));
  EXPECT_EQ(analysis.value("data_start"), probed(path, "packet=pos"));
  EXPECT_EQ(analysis.value("data_end"), std::to_string(readFile(path).size() - 1));
  expectSoundPlaying(analysis.strell, path);
}

std::string adts(const std::string& input, const Options& options = {"-b:a", "64k"}) {
  return ffmpeg(input, Options{"-c:a", "aac", "-f", "adts"} + options, ".aac");
}

TEST(RealAdts, RatesAndChannels) {
  for (const AdtsSound& sound :
       {AdtsSound{8000, 1}, {22050, 2}, {32000, 3}, {44100, 1}, {44100, 2}, {48000, 6}, {48000, 8}, {96000, 2}}) {
    const std::string path = adts(wave(sound.rate, sound.channels));
    const AdtsAnalysis analysis(readFile(path));
    expectAdts(analysis, path);
    EXPECT_EQ(analysis.value("media_type"), "7");
  }
}

TEST(RealAdts, Mpeg2IsAMediaTypeOfItsOwn) {
  const std::string path = adts(wave(), {"-write_mpeg2", "1"});
  const AdtsAnalysis analysis(readFile(path));
  expectAdts(analysis, path);
  EXPECT_EQ(analysis.value("media_type"), "6");
}

TEST(RealAdts, NeitherDurationNorBitrateNorChannelsAreToldUnlikeByFfprobe) {
  const std::string path = adts(wave());
  const AdtsAnalysis analysis(readFile(path));
  EXPECT_NEAR(std::stod(probed(path, "stream=duration")), 3, 0.5);
  EXPECT_NE(probed(path, "stream=bit_rate"), "N/A");
  EXPECT_EQ(probed(path, "stream=channels"), "2");
  for (const char* name : {"duration", "bitrate", "channels"}) {
    EXPECT_EQ(analysis.value(name), "") << name;
  }
}

// Their length loses a bit, so the frame behind is looked for in the wrong place.
TEST(RealAdts, FramesOf2048BytesAndMoreAreNotRecognisedUnlikeByFfprobe) {
  const std::string path = adts(wave(48000, 6, {"1", "whitenoise"}), {"-b:a", "1500k"});
  ASSERT_GE(std::stoi(probed(path, "packet=size")), 2048);
  EXPECT_EQ(probed(path, "packet=pos"), "0");
  const AdtsAnalysis analysis(readFile(path));
  EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioAdts::checkAdts(): missing second ADTS sync sequence"));
  EXPECT_NE(analysis.value("data_start"), "0");
}

TEST(RealAdts, JunkBeforeTheFirstFrameIsSkipped) {
  const std::string path = adts(wave());
  const AdtsAnalysis analysis(concat({filler(1000), readFile(path)}));
  EXPECT_EQ(analysis.value("data_start"), "1000");
  expectSoundPlaying(analysis.strell, path);
}

}  // namespace
}  // namespace zu::md::common::quorin
