// What a player gets over HTTP after the analysis, and what it costs.

#include <gtest/gtest.h>

#include "driver/analysis.h"
#include "support/encoded_mp3.h"
#include "support/nginx.h"
#include "unmistakable_adts.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr unsigned smallSide = 105;  // about 20 KB
constexpr unsigned largeSide = 920;  // about 1.5 MB

struct Item {
  const char* ending;
  const char* contentType;
  std::string (*encode)(const std::string& cover);  ///< path of a file with this picture, if the format has pictures
};

std::string mp3(const std::string& cover) {
  return EncodedMp3::byLame({"-b", "128", "--ti", cover}, Sound{44100, 2, 2}).path();
}

std::string flacFile(const std::string& cover) { return flac(wave(), {"--picture=" + cover}); }

std::string wav(const std::string&) { return wave(); }

std::string adts(const std::string&) { return unmistakableAdts(); }

const Item items[] = {{"mp3", "audio/mpeg", mp3},
                      {"flac", "audio/x-flac", flacFile},
                      {"wav", "audio/x-wav", wav},
                      {"aac", "audio/aacp", adts}};

/// The answer is the one about the file on disk, and what follows is the file from where it says that playing begins.
void expectToPlay(const std::string& url, const std::string& path) {
  const Analysis local(path);
  const Analysis remote(url);
  EXPECT_EQ(remote.status, 0) << url;
  EXPECT_EQ(remote.value("data_start"), local.value("data_start")) << url;
  EXPECT_EQ(remote.value("sampling_frequency"), local.value("sampling_frequency")) << url;
  const Bytes file = readFile(path);
  const Bytes sound = playedFrom(remote.result->strell);
  EXPECT_TRUE(sound == slice(file, remote.number("data_start"), file.size())) << url;
}

TEST(NetworkPlay, EveryFormatDecodesFromWhereTheAnalysisLeftIt) {
  Nginx nginx;
  const std::string cover = noisyPng(smallSide);
  for (const Item& item : items) {
    const std::string path = item.encode(cover);
    nginx.serve(std::string("item.") + item.ending, readFile(path));
    const Analysis analysis(nginx.url(std::string("/item.") + item.ending));
    EXPECT_EQ(analysis.answer, Analysis(path).answer);
    EXPECT_EQ(analysis.answer.substr(0, analysis.answer.find('\n')), item.contentType);
    expectSoundPlaying(analysis.result->strell, path);
  }
}

TEST(NetworkPlay, WithoutRangesTheSameBytesArePlayed) {
  Nginx nginx;
  const std::string cover = noisyPng(smallSide);
  for (const Item& item : items) {
    const std::string name = std::string("item.") + item.ending;
    const std::string path = item.encode(cover);
    nginx.serve(name, readFile(path));
    expectToPlay(nginx.url("/norange/" + name), path);
    if (std::string(item.ending) != "wav") {  // which needs the size for its duration
      expectToPlay(nginx.url("/chunked/" + name), path);
    }
  }
}

/// A large cover is neither read nor requested: what is asked for is the head and the place behind the cover, and, for
/// MP3, the end, where a tag may stand.
void expectToStepOver(const Item& item, const std::string& cover, const UrlCost& most) {
  const Nginx nginx;
  const std::string path = item.encode(cover);
  const Bytes file = readFile(path);
  nginx.serve("item", file);
  const Analysis analysis(nginx.url("/item"));
  EXPECT_EQ(analysis.answer, Analysis(path).answer);
  EXPECT_TRUE(analysis.picturesIn(file) == std::vector<Bytes>{readFile(cover)});
  ASSERT_TRUE(analysis.result->strell);
  const UrlCost cost = analysis.result->strell->cost();
  EXPECT_LE(cost.requests, most.requests);
  EXPECT_LE(cost.bytes, most.bytes);
  expectSoundPlaying(analysis.result->strell, path);
}

TEST(NetworkPlay, ALargeCoverIsSteppedOverWhereRangesAre) {
  const std::string cover = noisyPng(largeSide);
  ASSERT_GT(readFile(cover).size(), 1500000U);
  expectToStepOver(items[0], cover, {2 * 16384 + 128, 3, 3});
  expectToStepOver(items[1], cover, {2 * 16384, 2, 2});
}

}  // namespace
}  // namespace zu::md::common::quorin
