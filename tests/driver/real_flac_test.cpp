// FLAC by real encoders: what is said about it, held against what other programs say.

#include <gtest/gtest.h>

#include "analysis.h"
#include "quorin/audio_info.h"
#include "support/encoders.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

void expectFlac(const Analysis& analysis, const std::string& path) {
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("media_type"), "4");
  EXPECT_EQ(analysis.value("sampling_frequency"), metaflac(path, "--show-sample-rate"));
  EXPECT_EQ(analysis.value("data_start"), "0");
  EXPECT_EQ(analysis.value("data_end"), std::to_string(readFile(path).size() - 1));
  EXPECT_EQ(analysis.value("time_calc_start"), probed(path, "packet=pos"));
  EXPECT_EQ(analysis.value("can"), "seek speed pause");
}

TEST(RealFlac, RatesAndChannels) {
  for (const unsigned rate : {8000U, 44100U, 96000U}) {
    for (const unsigned channels : {1U, 2U, 6U, 8U}) {
      const std::string path = flac(wave(rate, channels));
      const Analysis analysis(path);
      expectFlac(analysis, path);
      EXPECT_EQ(analysis.value("duration"), "3 0");
      EXPECT_EQ(analysis.number("bitrate"), rate * 16 / 1000 * 1000) << "that of one channel";
    }
  }
}

TEST(RealFlac, TwentyFourBits) {
  const std::string path = ffmpeg(wave(), {"-c:a", "flac", "-sample_fmt", "s32"}, ".flac");
  EXPECT_EQ(metaflac(path, "--show-bps"), "24");
  EXPECT_EQ(Analysis(path).value("bitrate"), "1058000");
}

TEST(RealFlac, PaddingAndSeekTablesAreStepped) {
  for (const std::string padding : {"--padding=10", "--padding=70000", "--padding=2000000"}) {
    const std::string path = flac(wave(), {padding, "--seekpoint=100x"});
    const Analysis analysis(path);
    expectFlac(analysis, path);
    expectSoundPlaying(*analysis.result->strell, path);
  }
}

TEST(RealFlac, PicturesLieWhereTheyAreSaidToLie) {
  for (const unsigned side : {64U, 700U}) {
    const std::string cover = freshPath(".png");
    const std::string noise =
        "nullsrc=size=" + std::to_string(side) + "x" + std::to_string(side) + ",format=rgb24,noise=alls=100:allf=t";
    outputOf({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", noise, "-frames:v", "1", cover});
    const std::string path = flac(wave(), {"--picture=" + cover, "--picture=4||back||" + cover});
    const Analysis analysis(path);
    expectFlac(analysis, path);
    const auto audio = boost::dynamic_pointer_cast<AudioInfo>(analysis.result->info);
    ASSERT_TRUE(audio);
    const Bytes file = readFile(path);
    int count = 0;
    for (auto found = audio->embeddedPicturesBegin(); found != audio->embeddedPicturesEnd(); ++found, ++count) {
      const auto begin = file.begin() + static_cast<std::ptrdiff_t>(found->offset);
      EXPECT_TRUE(Bytes(begin, begin + found->length) == readFile(cover));
    }
    EXPECT_EQ(count, 2);
  }
}

// The encoder could not go back to write the number of samples; the size tells less than ffprobe finds out by reading.
TEST(RealFlac, AnUnknownLengthIsEstimatedAndDiffersFromTheTruth) {
  const std::string encoded = outputOf({"ffmpeg", "-v", "error", "-i", wave(), "-f", "flac", "pipe:1"});
  const std::string path = encodedFolder().write("pipe.flac", encoded);
  EXPECT_EQ(metaflac(path, "--show-total-samples"), "0");
  const Analysis analysis(path);
  expectFlac(analysis, path);
  EXPECT_TRUE(analysis.log.find("calc duration via file size") != std::string::npos);
  const auto samples = (encoded.size() - static_cast<size_t>(analysis.number("time_calc_start"))) * 64 / 10 / 16;
  EXPECT_EQ(analysis.value("duration").substr(0, 2), std::to_string(samples / 44100) + " ");
}

}  // namespace
}  // namespace zu::md::common::quorin
