// Raw PCM from servers: one with ranges, ones without, and one that makes it while it is sent.

#include <gtest/gtest.h>

#include "driver/analysis.h"
#include "support/encoders.h"
#include "support/loopback.h"
#include "support/nginx.h"
#include "support/rygel.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr char described[] = "audio/L16\nsampling_frequency 44100\n";
constexpr char sized[] = "bitrate 1411000\nduration 3 0\ndata_start 0\ntime_calc_start 0\ndata_end 529199\n";
constexpr char live[] = "data_start 0\ntime_calc_start 0\n";
constexpr char stereo[] = "media_type 2\nchannels 2\n";

/// The samples of a WAV file, big-endian.
Bytes pcmOf(const std::string& wave) { return readFile(sox(wave, {"-t", "raw", "-B"}, ".l16")); }

TEST(NetworkDlnaPcm, WithRangesItCanSeek) {
  Nginx nginx;
  const Bytes samples = pcmOf(wave());
  nginx.serve("item.l16", samples);
  for (const int mode : {Analyzer::MODE_NONE, Analyzer::MODE_AUDIO}) {
    const Analysis analysis(nginx.url("/item.l16"), mode);
    EXPECT_EQ(analysis.answer, std::string(described) + sized + stereo + "can seek speed pause\n");
    EXPECT_TRUE(playedFrom(analysis.result->strell) == samples);
  }
}

TEST(NetworkDlnaPcm, RecognisingItCostsOneRequestAndTheFirstPiece) {
  Nginx nginx;
  nginx.serve("item.l16", pcmOf(wave()));
  const Analysis analysis(nginx.url("/item.l16"));
  ASSERT_TRUE(analysis.result->strell);
  const UrlCost cost = analysis.result->strell->cost();
  EXPECT_EQ(cost.requests, 1U);
  EXPECT_LE(cost.bytes, 16384U);
}

TEST(NetworkDlnaPcm, WithoutRangesItCannotSeek) {
  Nginx nginx;
  const Bytes samples = pcmOf(wave());
  nginx.serve("item.l16", samples);
  for (const auto& [path, properties] : {std::pair{"/norange/", sized}, std::pair{"/chunked/", live},
                                         std::pair{"/nolength/", live}, std::pair{"/norange406/", sized}}) {
    const Analysis analysis(nginx.url(path + std::string("item.l16")));
    EXPECT_EQ(analysis.answer, std::string(described) + properties + stereo + "can\n") << path;
    EXPECT_TRUE(playedFrom(analysis.result->strell) == samples) << path;
  }
}

TEST(NetworkDlnaPcm, AMediaServerThatTranscodesDeliversTheVerySamples) {
  if (!onlyLoopback()) {
    GTEST_SKIP() << "the media server would announce itself beyond this machine: no network of its own here";
  }
  const std::string sound = wave();
  const Rygel server(readFile(sound));
  const Analysis analysis(server.pcmUrl());
  EXPECT_EQ(analysis.answer, std::string(described) + live + stereo + "can\n");
  EXPECT_TRUE(
      analysis.logged("4000 AnalyzerAudioAdts::analyze(): DLNA PCM found. rate=44100 channels=2 bitpersample=16"));
  EXPECT_TRUE(playedFrom(analysis.result->strell) == pcmOf(sound));
}

}  // namespace
}  // namespace zu::md::common::quorin
