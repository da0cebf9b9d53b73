// WAV by real encoders: what is said about it, held against what other programs say.

#include <gtest/gtest.h>

#include "analysis.h"
#include "support/encoders.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

TEST(RealWav, PlainPcmOfEveryWidth) {
  for (const std::string bits : {"8", "16", "24", "32"}) {
    const std::string path = freshPath(".wav");
    outputOf({"sox", wave(), "-b", bits, "-t", "wavpcm", path});
    const Analysis analysis(path);
    EXPECT_EQ(analysis.answer, "audio/x-wav\nsampling_frequency 44100\nbitrate " +
                                   std::to_string(std::stoi(probed(path, "stream=bit_rate")) / 1000) +
                                   "000\nduration 3 0\ndata_start 0\ntime_calc_start 0\ndata_end " +
                                   std::to_string(readFile(path).size() - 1) +
                                   "\nmedia_type 3\ncan seek speed pause\n");
    expectSoundPlaying(*analysis.result->strell, path);
  }
}

TEST(RealWav, ALeadingListChunkIsStepped) {
  const Bytes file = readFile(wave());
  const Bytes list = {'L', 'I', 'S', 'T', 4, 0, 0, 0, 'I', 'N', 'F', 'O'};
  const Bytes withList = concat({head(file, 12), list, Bytes(file.begin() + 12, file.end())});
  EXPECT_EQ(Analysis(encodedFolder().write("list.wav", withList)).value("duration"), "3 0");
}

TEST(RealWav, FloatAndExtensibleAreRefused) {
  const std::string path = freshPath(".wav");
  outputOf({"sox", wave(), "-e", "floating-point", "-b", "32", path});
  const Analysis floating(path);
  EXPECT_EQ(floating.answer, "application/unknown\n");
  EXPECT_TRUE(floating.logged("3000 AnalyzerAudioWav::checkWave(): wave audio format 3 not supported"));
  outputOf({"sox", wave(), "-b", "24", path});
  const Analysis extensible(path);
  EXPECT_EQ(extensible.answer, "application/unknown\n");
  EXPECT_TRUE(extensible.logged("3000 AnalyzerAudioWav::checkWave(): wave audio format 65534 not supported"));
}

}  // namespace
}  // namespace zu::md::common::quorin
