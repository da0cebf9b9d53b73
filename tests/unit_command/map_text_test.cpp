#include "map/map_text.h"

#include <gtest/gtest.h>

#include <sstream>

#include "output/display_text.h"
#include "sample_maps.h"

namespace quorin_command {
namespace {

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// The text without its escape sequences.
std::string unpainted(const std::string& text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\033') {
      i = text.find('m', i);
    } else {
      plain += text[i];
    }
  }
  return plain;
}

TEST(MapText, ShowsWhatLiesWhereAndWhatWasRead) {
  EXPECT_EQ(mapText(sampleMap(), {60, false, true}),
            "TPPPP picture PPPPTHAAAAAAAAAAAAAAAA audio AAAAAAAAAAAAAAAAE\n"
            "█▒················██▒······································█\n"
            "0                   ^1 651 147                     5 549 487\n"
            "█ read  ▒ read in part  · not read\n"
            "\n"
            "  WHAT          FROM         TO       SIZE    SHARE\n"
            "T tag              0         52   53 bytes  < 0.1 %\n"
            "P picture         53  1 646 644    1.6 MiB   29.7 %\n"
            "T tag      1 646 645  1 650 699    4.0 KiB    0.1 %\n"
            "H header   1 650 700  1 651 146  447 bytes  < 0.1 %\n"
            "A audio    1 651 147  5 549 358    3.7 MiB   70.2 %\n"
            "E end      5 549 359  5 549 486  128 bytes  < 0.1 %\n"
            "\n"
            "  audio     from 1 651 147 on, behind a picture of 1.6 MiB\n"
            "  read      12.1 KiB of 5.3 MiB (0.2 %) in 4 reads\n");
}

TEST(MapText, NeedsNoUtf8) {
  const auto lines = linesOf(mapText(sampleMap(), {60, false, false}));
  EXPECT_EQ(lines[1], "#+................##+......................................#");
  EXPECT_EQ(lines[3], "# read  + read in part  . not read");
}

TEST(MapText, ColoursEachSegment) {
  const std::string bar = linesOf(mapText(sampleMap(), {60, true, true}))[0];
  EXPECT_EQ(bar.substr(0, 30), "\033[30;43mT\033[0m\033[30;45m     pict");
  EXPECT_EQ(unpainted(bar), "T     picture     TH                 audio                 E");
}

TEST(MapText, ColoursTheLegendLikeTheBar) {
  const auto lines = linesOf(mapText(sampleMap(), {60, true, true}));
  EXPECT_EQ(lines[6].find("\033[30;43mT\033[0m tag "), 0U);
  EXPECT_EQ(lines[11].find("\033[37;44mE\033[0m end "), 0U);
}

TEST(MapText, TellsThatALiveStreamGoesOn) {
  EXPECT_EQ(mapText(sampleLiveMap(), {60, false, true}),
            "HHHHAAAAAAAAAAAAAAAAAAAAAAAA audio AAAAAAAAAAAAAAAAAAAAAAAA…\n"
            "███████████████████████████████████████████████████████████\n"
            "0   ^417                                        8 000 and on\n"
            "█ read  ▒ read in part  · not read\n"
            "\n"
            "  WHAT    FROM   TO       SIZE  SHARE\n"
            "H header     0  416  417 bytes      -\n"
            "A audio    417   on          -      -\n"
            "\n"
            "  audio     from 417 on\n"
            "  read      7.8 KiB in 2 reads, 1 request, 8.0 KiB received,\n"
            "            the item goes on\n");
  EXPECT_EQ(linesOf(mapText(sampleLiveMap(), {60, false, false}))[0].back(), '>');
}

TEST(MapText, ShowsAnItemThatIsNotRecognised) {
  const auto lines = linesOf(mapText(sampleUnknownMap(100), {40, false, false}));
  EXPECT_EQ(lines[0], "???????????? not recognised ????????????");
  EXPECT_EQ(lines[1], "+.......................................");
  EXPECT_EQ(lines[8], "  audio     none was found");
}

TEST(MapText, ShowsAnItemOfOneByte) {
  const auto lines = linesOf(mapText(sampleUnknownMap(1), {20, false, false}));
  EXPECT_EQ(lines[1], std::string(20, '#'));
  EXPECT_EQ(lines[2], "0                  1");
}

TEST(MapText, HasTheUsualWidthWhereThereIsNoTerminal) {
  EXPECT_EQ(linesOf(mapText(sampleMap(), {0, false, false}))[0].size(), 80U);
}

TEST(MapText, LeavesColumnsOutWhereTheTerminalIsNarrow) {
  const auto lines = linesOf(mapText(sampleMap(), {42, false, false}));
  EXPECT_EQ(lines[5], "  WHAT          FROM         TO       SIZE");
  EXPECT_EQ(lines[6], "T tag              0         52   53 bytes");
  EXPECT_EQ(linesOf(mapText(sampleMap(), {41, false, false}))[5], "  WHAT          FROM         TO");
}

TEST(MapText, IsNeverWiderThanTheTerminal) {
  for (const ByteMap& map : {sampleMap(), sampleLiveMap(), sampleUnknownMap(5000000000), sampleUnknownMap(INT64_MAX)}) {
    for (size_t width = 40; width <= 200; ++width) {
      for (const std::string& line : linesOf(mapText(map, {width, false, true}))) {
        EXPECT_LE(displayWidth(line), width) << line;
      }
    }
  }
}

TEST(MapText, SurvivesATerminalOfOneColumn) {
  for (size_t width = 1; width < 40; ++width) {
    EXPECT_NE(mapText(sampleMap(), {width, true, false}), "");
    EXPECT_NE(mapText(sampleUnknownMap(INT64_MAX), {width, true, false}), "");
  }
}

TEST(MapText, KeepsTheNumbersOfTheScaleApart) {
  // The audio begins at each of the 60 columns in turn.
  for (long long start = 1; start < 60000; start += 1000) {
    AudioRecord audio;
    audio.dataStart = start;
    ByteMap map;
    map.end = 60000;
    map.segments = segmentsOf(audio, start, map.end);
    const std::string line = linesOf(mapText(map, {60, false, false}))[2];
    EXPECT_EQ(line.size(), 60U);
    EXPECT_EQ(line.substr(0, 2), "0 ");
    EXPECT_EQ(line.substr(52), "  60 000");
  }
}

TEST(MapText, ShowsMoreSegmentsThanColumns) {
  AudioRecord audio;
  audio.dataStart = 1000;
  for (int64_t offset = 0; offset < 1000; offset += 10) {
    audio.pictures.push_back({offset, 5});
  }
  ByteMap map;
  map.end = 2000;
  map.segments = segmentsOf(audio, 1000, map.end);
  EXPECT_EQ(map.segments.size(), 201U);
  const auto lines = linesOf(mapText(map, {60, false, false}));
  EXPECT_EQ(lines[0].size(), 60U);
  EXPECT_EQ(lines[0].substr(28), "TPAAAAAAAAAAA audio AAAAAAAAAAAA");
  EXPECT_EQ(lines.size(), 6 + 201 + 3U);
}

}  // namespace
}  // namespace quorin_command
