#include "strell/icy_demultiplexer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "contract/strell_support.h"
#include "support/bytes.h"
#include "support/icy_stream.h"

namespace zu::md::common::strell {
namespace {

using quorin_test::Bytes;
using quorin_test::Icy;
using quorin_test::icyBlock;
using quorin_test::icyStream;
using quorin_test::testBytes;

/// The audio of `stream`, taken in pieces of `piece` bytes.
Bytes separate(IcyDemultiplexer& icy, const Bytes& stream, size_t piece) {
  Bytes audio;
  for (size_t offset = 0; offset < stream.size(); offset += piece) {
    const auto from = stream.begin() + static_cast<std::ptrdiff_t>(offset);
    Bytes bytes(from, from + static_cast<std::ptrdiff_t>(std::min(piece, stream.size() - offset)));
    bytes.resize(icy.separate(bytes.data(), static_cast<unsigned int>(bytes.size())));
    audio.insert(audio.end(), bytes.begin(), bytes.end());
  }
  return audio;
}

std::vector<Icy> handedOut(IcyDemultiplexer& icy, long long last = std::numeric_limits<long long>::max()) {
  std::vector<IcyData> blocks;
  icy.handOut(last, blocks);
  std::vector<Icy> result;
  for (const IcyData& block : blocks) {
    result.emplace_back(block.offset, block.text);
  }
  return result;
}

TEST(IcyDemultiplexer, SeparatesInPiecesOfAnySize) {
  const Bytes audio = testBytes(20000);
  for (const unsigned int metaint : {1U, 2U, 7U, 4095U, 4096U, 4097U, 16000U, 19999U, 20000U, 20001U}) {
    const std::vector<std::string> texts{"first", "", std::string(16, 'a'), std::string(17, 'b')};
    const Bytes stream = icyStream(audio, metaint, texts);
    std::vector<Icy> expected;
    for (size_t i = 0; i < texts.size(); ++i) {
      if (!texts[i].empty() && (i + 1) * metaint <= audio.size()) {
        expected.emplace_back((i + 1) * metaint, texts[i]);
      }
    }
    for (const size_t piece : {1U, 2U, 7U, 16U, 17U, 18U, 4096U, 1000000U}) {
      IcyDemultiplexer icy(metaint);
      EXPECT_TRUE(separate(icy, stream, piece) == audio) << metaint << " in pieces of " << piece;
      EXPECT_EQ(handedOut(icy), expected) << metaint << " in pieces of " << piece;
    }
  }
}

TEST(IcyDemultiplexer, TextEndsAtTheFirstNul) {
  IcyDemultiplexer icy(1);
  Bytes stream = icyStream(Bytes(4, 'x'), 1, {std::string("before\0behind", 13), std::string(16, '\0'), "\xFF\x01 ok"});
  EXPECT_EQ(separate(icy, stream, 5), Bytes(4, 'x'));
  EXPECT_EQ(handedOut(icy), (std::vector<Icy>{{1, "before"}, {3, "\xFF\x01 ok"}}));
}

TEST(IcyDemultiplexer, TheLargestBlockIsTakenWhole) {
  IcyDemultiplexer icy(10);
  const std::string text(4080, 't');
  EXPECT_TRUE(separate(icy, icyStream(testBytes(100), 10, {text}), 999) == testBytes(100));
  EXPECT_EQ(handedOut(icy), (std::vector<Icy>{{10, text}}));
}

TEST(IcyDemultiplexer, ABlockThatIsCutOffIsNotHandedOut) {
  Bytes stream(10, 'x');
  const Bytes block = icyBlock("some title");
  stream.insert(stream.end(), block.begin(), block.end());
  for (size_t length = 10; length <= stream.size(); ++length) {
    IcyDemultiplexer icy(10);
    EXPECT_EQ(separate(icy, Bytes(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(length)), 4),
              Bytes(10, 'x'));
    EXPECT_EQ(handedOut(icy).size(), length == stream.size() ? 1U : 0U) << length;
  }
}

TEST(IcyDemultiplexer, HandsOutOnceAndOnlyAsFarAsAsked) {
  IcyDemultiplexer icy(2);
  separate(icy, icyStream(Bytes(8, 'x'), 2, {"two", "four", "six", "eight"}), 100);
  EXPECT_TRUE(handedOut(icy, 1).empty());
  EXPECT_EQ(handedOut(icy, 4), (std::vector<Icy>{{2, "two"}, {4, "four"}}));
  EXPECT_TRUE(handedOut(icy, 5).empty());
  EXPECT_EQ(handedOut(icy, 100), (std::vector<Icy>{{6, "six"}, {8, "eight"}}));
}

TEST(IcyDemultiplexer, KeepsTheFirstBlocksAsFarAsItsMemoryGoesAndGoesOnWhenTheyWereHandedOut) {
  for (const size_t textLength : {1U, 16U, 4080U}) {
    const std::string text(textLength, 't');
    const size_t limit = IcyDemultiplexer::maxKeptBytes / (textLength + IcyDemultiplexer::keptBlockOverhead);
    const Bytes audio(limit + 100, 'x');
    const Bytes stream = icyStream(audio, 1, std::vector<std::string>(audio.size(), text));
    IcyDemultiplexer icy(1);
    for (int round = 0; round < 2; ++round) {
      EXPECT_TRUE(separate(icy, stream, 65536) == audio);
      const std::vector<Icy> blocks = handedOut(icy);
      ASSERT_EQ(blocks.size(), limit);
      const auto begin = static_cast<long long>(audio.size()) * round + 1;
      EXPECT_EQ(blocks.front().first, begin);
      EXPECT_EQ(blocks.back().first, begin + static_cast<long long>(limit) - 1);
    }
  }
}

}  // namespace
}  // namespace zu::md::common::strell
