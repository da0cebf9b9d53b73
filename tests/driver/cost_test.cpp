// What an analysis of a local file takes from the file: little, whatever the file's length and its pictures.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "driver/analysis.h"
#include "support/adts_builder.h"
#include "support/flac_builder.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"
#include "support/temporary_folder.h"
#include "support/wav_builder.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr unsigned long long mostBytes = 64 * 1024;
constexpr unsigned mostReads = 4;  // three where the platform reads ahead at the start
constexpr size_t largeCover = 1500000;

UrlCost costOf(const std::string& path) {
  const Analysis analysis(path);
  EXPECT_TRUE(analysis.result->strell) << path;
  return analysis.result->strell ? analysis.result->strell->cost() : UrlCost();
}

/// Makes the file as long as that without writing anything.
std::string lengthened(const std::string& path, off_t size) {
  EXPECT_EQ(::truncate(path.c_str(), size), 0);
  return path;
}

TEST(Cost, IsLittleWhateverTheCover) {
  const TemporaryFolder folder;
  const Bytes mp3 = mpegFrames(100);
  const Bytes cover = noise(largeCover);
  const std::pair<const char*, Bytes> items[] = {
      {"plain.mp3", mp3},
      {"small-cover.mp3", concat({Id3v2Tag().around(id3v2Picture(3, noise(20000))), mp3, id3v1Tag()})},
      {"large-cover.mp3", concat({Id3v2Tag().around(id3v2Picture(3, cover)), mp3, id3v1Tag()})},
      {"plain.aac", adtsFrames(5000)},
      {"plain.flac", flacFile({flacStreaminfo(), flacPadding(8192)}, 20000)},
      {"large-cover.flac", flacFile({flacStreaminfo(), flacPicture({3, "image/png", "cover", cover})}, 20000)},
      {"plain.wav", wavFile(200000)},
      {"text", noise(200000)},
      {"noise", testBytes(200000)},
  };
  for (const auto& [name, bytes] : items) {
    const UrlCost cost = costOf(folder.write(name, bytes));
    EXPECT_GT(cost.bytes, 0U) << name;
    EXPECT_LE(cost.bytes, mostBytes) << name;
    EXPECT_LE(cost.reads, mostReads) << name;
  }
}

/// Where the cover ends is where the head of the cache ends, too, for some of them.
TEST(Cost, IsLittleForCoversOfEverySize) {
  const TemporaryFolder folder;
  for (size_t size = 1000; size <= 140000; size += size < 60000 || size > 68000 ? 3000 : 500) {
    const Bytes cover = noise(size);
    const std::pair<const char*, Bytes> items[] = {
        {"mp3", concat({Id3v2Tag().around(id3v2Picture(3, cover)), mpegFrames(100), id3v1Tag()})},
        {"flac", flacFile({flacStreaminfo(), flacPicture({3, "image/png", "cover", cover})}, 20000)},
    };
    for (const auto& [name, bytes] : items) {
      const UrlCost cost = costOf(folder.write(name, bytes));
      // Then the second frame header lies in the last 128 bytes of the head, and an ID3v1 tag as long comes on top.
      const unsigned long long more = size == 65000 ? 128 : 0;
      EXPECT_LE(cost.bytes, mostBytes + more) << name << " with a cover of " << size;
      EXPECT_LE(cost.reads, mostReads) << name << " with a cover of " << size;
    }
  }
}

TEST(Cost, DoesNotGrowWithTheLengthOfTheFile) {
  const TemporaryFolder folder;
  for (const auto& [name, bytes] : {std::pair<const char*, Bytes>{"long.wav", wavFile(100000)},
                                    std::pair<const char*, Bytes>{"long.mp3", mpegFrames(300)},
                                    std::pair<const char*, Bytes>{"long", noise(100000)}}) {
    const std::string path = folder.write(name, bytes);
    const UrlCost of5Megabytes = costOf(lengthened(path, 5000000));
    const UrlCost of5Gigabytes = costOf(lengthened(path, 5000000000));
    EXPECT_EQ(of5Gigabytes.bytes, of5Megabytes.bytes) << name;
    EXPECT_EQ(of5Gigabytes.reads, of5Megabytes.reads) << name;
  }
}

}  // namespace
}  // namespace zu::md::common::quorin
