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

TEST(RealAdts, RatesAndChannels) {
  for (const AdtsSound& sound : {AdtsSound{8000, 1}, {22050, 2}, {44100, 1}, {44100, 2}, {48000, 6}, {96000, 2}}) {
    const std::string path =
        ffmpeg(wave(sound.rate, sound.channels), {"-c:a", "aac", "-b:a", "64k", "-f", "adts"}, ".aac");
    const AdtsAnalysis analysis(readFile(path));
    EXPECT_EQ(analysis.status, 0);
    EXPECT_EQ(analysis.value("sampling_frequency"), probed(path, "stream=sample_rate"));
    EXPECT_EQ(analysis.value("frame_size"), probed(path, "packet=size"));
    EXPECT_EQ(analysis.value("data_start"), probed(path, "packet=pos"));
    EXPECT_EQ(analysis.value("media_type"), "7");
    EXPECT_EQ(analysis.value("bitrate"), "") << "a file tells none";
    expectSoundPlaying(*analysis.strell, path);
  }
}

TEST(RealAdts, JunkBeforeTheFirstFrameIsSkipped) {
  const std::string path = ffmpeg(wave(), {"-c:a", "aac", "-f", "adts"}, ".aac");
  const AdtsAnalysis analysis(concat({filler(1000), readFile(path)}));
  EXPECT_EQ(analysis.value("data_start"), "1000");
  expectSoundPlaying(*analysis.strell, path);
}

}  // namespace
}  // namespace zu::md::common::quorin
