// FLAC by real encoders: what is said about it, held against what other programs say.

#include <gtest/gtest.h>

#include "analysis.h"
#include "support/encoders.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

/// "SECONDS MICROSECONDS" of that many samples, as the answer puts it.
std::string durationOf(long long samples, long long rate) {
  return std::to_string(samples / rate) + ' ' + std::to_string(samples % rate * 1000000 / rate);
}

void expectFlac(const Analysis& analysis, const std::string& path) {
  const std::string rate = metaflac(path, "--show-sample-rate");
  const long long samples = std::stoll(metaflac(path, "--show-total-samples"));
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("media_type"), "4");
  EXPECT_EQ(analysis.value("sampling_frequency"), rate);
  EXPECT_EQ(analysis.value("sampling_frequency"), mediainfo(path, "SamplingRate"));
  if (samples != 0) {
    EXPECT_EQ(analysis.value("duration"), durationOf(samples, std::stoll(rate)));
  }
  EXPECT_EQ(analysis.value("data_start"), "0");
  EXPECT_EQ(analysis.value("data_end"), std::to_string(readFile(path).size() - 1));
  EXPECT_EQ(analysis.value("time_calc_start"), probed(path, "packet=pos"));
  EXPECT_EQ(analysis.value("can"), "seek speed pause");
  EXPECT_TRUE(playedFrom(analysis.result->strell) == readFile(path));
}

TEST(RealFlac, EveryNumberOfChannels) {
  for (unsigned channels = 1; channels <= 8; ++channels) {
    const std::string path = flac(wave(44100, channels), {"--channel-map=none"});
    EXPECT_EQ(metaflac(path, "--show-channels"), std::to_string(channels));
    expectFlac(Analysis(path), path);
  }
}

TEST(RealFlac, RatesAndWidths) {
  for (const unsigned rate : {8000U, 48000U, 96000U}) {
    for (const std::string bits : {"16", "24"}) {
      const std::string path = flac(sox(wave(rate), {"-b", bits}, ".wav"));
      EXPECT_EQ(metaflac(path, "--show-bps"), bits);
      const Analysis analysis(path);
      expectFlac(analysis, path);
      EXPECT_EQ(analysis.number("bitrate"), rate * std::stoll(bits) / 1000 * 1000);
    }
  }
}

TEST(RealFlac, FractionsOfASecondAreTold) {
  const std::string path = flac(wave(44100, 1, {"2.3456", "pluck"}));
  const Analysis analysis(path);
  expectFlac(analysis, path);
  EXPECT_EQ(analysis.value("duration"), "2 345600");
  EXPECT_EQ(mediainfo(path, "Duration"), "2346");
}

TEST(RealFlac, TheBitrateIsThatOfOneChannelBeforeItIsCompressedUnlikeThatOfMediainfo) {
  for (const unsigned channels : {1U, 2U, 6U}) {
    const std::string path = flac(wave(44100, channels));
    const Analysis analysis(path);
    EXPECT_EQ(analysis.value("bitrate"), "705000");
    EXPECT_LT(mediainfo(path, "BitRate"), "705000") << "that of the compressed bytes";
    EXPECT_EQ(probed(path, "stream=channels"), std::to_string(channels));
    EXPECT_EQ(analysis.value("channels"), "") << "not told";
  }
}

TEST(RealFlac, MetadataBlocksBeforeTheAudioAreStepped) {
  const std::string sheet =
      encodedFolder().write("two.cue", std::string("FILE \"item.wav\" WAVE\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n"
                                                   "  TRACK 02 AUDIO\n    INDEX 01 00:01:00\n"));
  for (const Options& options :
       {Options{"--padding=10"}, Options{"--padding=70000", "--seekpoint=100x"}, Options{"--padding=2000000"},
        Options{"--cuesheet=" + sheet, "--tag=TITLE=Opening"}, Options{"--no-padding", "--no-seektable"}}) {
    const std::string path = flac(wave(), options);
    const Analysis analysis(path);
    expectFlac(analysis, path);
    expectSoundPlaying(Analysis(path).result->strell, path);
  }
}

TEST(RealFlac, PicturesAreTheVeryBytesThatWereEmbedded) {
  const std::string little = noisyPng(105);  // about 20 KB, smaller than the cache
  const std::string large = noisyPng(920);   // about 1.5 MB, larger
  const std::vector<std::vector<std::string>> covers = {{little}, {large}, {little, large, little}, {large, little}};
  for (const std::vector<std::string>& embedded : covers) {
    Options options;
    std::vector<Bytes> expected;
    for (const std::string& cover : embedded) {
      options.push_back("--picture=4||a \xc3\xa4 description||" + cover);
      expected.push_back(readFile(cover));
    }
    const std::string path = flac(wave(), options);
    const Analysis analysis(path);
    EXPECT_TRUE(analysis.picturesIn(readFile(path)) == expected);
    expectFlac(analysis, path);
    expectSoundPlaying(Analysis(path).result->strell, path);
  }
}

// The encoder could not go back to write the number of samples; a size tells less than those find out who read it all.
TEST(RealFlac, AnUnknownLengthIsEstimatedAndDiffersFromTheTruth) {
  const std::string sound = wave();
  const std::string raw = sox(sound, {"-t", "raw"}, ".raw");
  const std::string piped =
      "flac -s -c --no-md5-sum --force-raw-format --endian=little --sign=signed --channels=2 --bps=16 "
      "--sample-rate=44100 - < ";
  for (const std::string& encoded : {outputOf({"ffmpeg", "-v", "error", "-i", sound, "-f", "flac", "pipe:1"}),
                                     outputOf({"sh", "-c", piped + raw})}) {
    const std::string path = writtenFile(".flac", Bytes(encoded.begin(), encoded.end()));
    EXPECT_EQ(metaflac(path, "--show-total-samples"), "0");
    const Analysis analysis(path);
    expectFlac(analysis, path);
    EXPECT_TRUE(analysis.log.find("calc duration via file size") != std::string::npos);
    const auto samples = (encoded.size() - static_cast<size_t>(analysis.number("time_calc_start"))) * 64 / 10 / 16;
    EXPECT_EQ(analysis.value("duration").substr(0, 2), std::to_string(samples / 44100) + " ");
    EXPECT_EQ(decodedSamples(path).size(), 3U * 44100 * 4);
    EXPECT_NE(analysis.number("duration"), 3);
  }
}

TEST(RealFlac, AnUnknownLengthOfALittleFileIsNotRecognised) {
  const std::string sound = wave(8000, 1, {"0.1", "sine", "440"});
  const std::string encoded = outputOf({"ffmpeg", "-v", "error", "-i", sound, "-f", "flac", "pipe:1"});
  ASSERT_LE(encoded.size(), static_cast<size_t>(Info::MaximumHttpHeaderSize));
  EXPECT_EQ(Analysis(writtenFile(".flac", Bytes(encoded.begin(), encoded.end()))).answer, "application/unknown\n");
}

}  // namespace
}  // namespace zu::md::common::quorin
