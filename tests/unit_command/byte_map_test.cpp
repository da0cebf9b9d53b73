#include "map/byte_map.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <numeric>

#include "map/map_words.h"
#include "sample_records.h"

namespace quorin_command {
namespace {

/// "T0-53 P53-60": each segment by its letter and its place.
std::string shown(const std::vector<Segment>& segments) {
  std::string text;
  for (const Segment& segment : segments) {
    text += fmt::format("{}{}{}-{}", text.empty() ? "" : " ", nameOf(segment.content).letter, segment.place.begin,
                        segment.place.end);
  }
  return text;
}

AudioRecord audioFrom(long long dataStart, std::vector<library::EmbeddedPicture> pictures = {}) {
  AudioRecord audio;
  audio.dataStart = dataStart;
  audio.pictures = std::move(pictures);
  return audio;
}

std::string segmentsShown(const AudioRecord& audio, long long tagLength, long long end) {
  return shown(segmentsOf(audio, tagLength, end));
}

TEST(Segments, CutThePictureOutOfTheTag) {
  EXPECT_EQ(shown(segmentsOf(sampleAudio().audio, 1651147, 5549487)),
            "T0-53 P53-1646645 T1646645-1651147 A1651147-5549359 E5549359-5549487");
}

TEST(Segments, TellWhatStandsBetweenTagAndAudio) {
  EXPECT_EQ(segmentsShown(audioFrom(517), 100, 1000), "T0-100 H100-517 A517-1000");
  EXPECT_EQ(segmentsShown(audioFrom(417), 0, 1000), "H0-417 A417-1000");
}

TEST(Segments, CountTheMetadataOfFlacAsHeader) {
  AudioRecord audio = audioFrom(0, {{100, 200}});
  audio.timeCalcStart = 8288;
  EXPECT_EQ(segmentsShown(audio, 0, 10000), "H0-100 P100-300 H300-8288 A8288-10000");
  audio.dataStart = 50;
  EXPECT_EQ(segmentsShown(audio, 50, 10000), "T0-50 H50-100 P100-300 H300-8288 A8288-10000");
}

TEST(Segments, OfNoLengthAreLeftOut) {
  EXPECT_EQ(segmentsShown(audioFrom(0), 0, 10), "A0-10");
  EXPECT_EQ(segmentsShown(audioFrom(10), 10, 10), "T0-10");
  EXPECT_EQ(segmentsShown(audioFrom(10, {{5, 0}}), 10, 20), "T0-10 A10-20");
  EXPECT_EQ(segmentsShown(audioFrom(10, {{0, 10}}), 10, 20), "P0-10 A10-20");
  EXPECT_EQ(segmentsShown(audioFrom(0), 0, 0), "");
  EXPECT_EQ(segmentsShown(AudioRecord(), 0, 1), "A0-1");
}

TEST(Segments, PicturesMayOverlapAndComeInAnyOrder) {
  EXPECT_EQ(segmentsShown(audioFrom(100, {{50, 20}, {10, 20}}), 100, 200),
            "T0-10 P10-30 T30-50 P50-70 T70-100 A100-200");
  EXPECT_EQ(segmentsShown(audioFrom(100, {{10, 30}, {20, 40}}), 100, 200), "T0-10 P10-40 P40-60 T60-100 A100-200");
  EXPECT_EQ(segmentsShown(audioFrom(100, {{10, 50}, {20, 10}, {10, 50}}), 100, 200), "T0-10 P10-60 T60-100 A100-200");
}

TEST(Segments, PicturesEndWhereTheAudioBegins) {
  EXPECT_EQ(segmentsShown(audioFrom(100, {{90, 50}}), 100, 200), "T0-90 P90-100 A100-200");
  EXPECT_EQ(segmentsShown(audioFrom(100, {{100, 50}, {INT64_MAX, INT32_MAX}}), 100, 200), "T0-100 A100-200");
}

TEST(Segments, AreClampedToTheItem) {
  EXPECT_EQ(segmentsShown(audioFrom(500), 1000, 200), "T0-200");
  AudioRecord audio = audioFrom(100);
  audio.timeCalcStart = 50;
  audio.dataEnd = 500;
  EXPECT_EQ(segmentsShown(audio, 0, 200), "H0-100 A100-200");
  audio.dataEnd = INT64_MAX;
  EXPECT_EQ(segmentsShown(audio, 0, 200), "H0-100 A100-200");
  audio.dataEnd = -1;
  EXPECT_EQ(segmentsShown(audio, 0, 200), "H0-100 E100-200");
}

TEST(Segments, OfAnItemThatIsNotRecognised) {
  EXPECT_EQ(shown(segmentsOf(std::nullopt, 0, 100)), "?0-100");
  EXPECT_EQ(shown(segmentsOf(std::nullopt, 0, 0)), "");
}

std::vector<Segment> inARow(const std::vector<long long>& lengths) {
  std::vector<Segment> segments;
  long long begin = 0;
  for (const long long length : lengths) {
    segments.push_back({Content::Tag, {begin, begin + length}});
    begin += length;
  }
  return segments;
}

std::vector<size_t> widths(const std::vector<long long>& lengths, size_t width, size_t least = 1) {
  const std::vector<Segment> segments = inARow(lengths);
  const Scale scale(segments, width, least);
  std::vector<size_t> result;
  for (size_t i = 0; i < lengths.size(); ++i) {
    result.push_back(scale.columnOf(i + 1) - scale.columnOf(i));
  }
  EXPECT_EQ(std::accumulate(result.begin(), result.end(), size_t()), lengths.empty() ? 0 : width);
  return result;
}

using Widths = std::vector<size_t>;

TEST(Scale, SharesTheColumnsOutBySize) {
  EXPECT_EQ(widths({50, 50}, 80), (Widths{40, 40}));
  EXPECT_EQ(widths({25, 75}, 80, 0), (Widths{20, 60}));
  EXPECT_EQ(widths({25, 75}, 80, 10), (Widths{25, 55}));
  EXPECT_EQ(widths({100}, 80), Widths{80});
}

TEST(Scale, GivesTheSmallestSegmentAColumn) {
  EXPECT_EQ(widths({53, 2000000, 1, 3800000, 128}, 20), (Widths{1, 6, 1, 11, 1}));
  EXPECT_EQ(widths({1, 5000000000, 1}, 20), (Widths{1, 18, 1}));
  EXPECT_EQ(widths({1, 5000000000, 1}, 912, 4), (Widths{4, 904, 4}));
}

TEST(Scale, TakesAnItemOfOneByte) { EXPECT_EQ(widths({1}, 80), Widths{80}); }

TEST(Scale, TakesMoreSegmentsThanColumns) {
  EXPECT_EQ(widths({1, 1, 1, 1}, 2), (Widths{1, 0, 1, 0}));
  EXPECT_EQ(widths({1, 97, 1, 1}, 2), (Widths{0, 2, 0, 0}));
  EXPECT_EQ(widths({10, 10, 10}, 8, 4), (Widths{3, 2, 3}));
}

TEST(Scale, PutsAByteIntoItsSegment) {
  const auto segments = inARow({1, 99, 4999999900});
  const Scale scale(segments, 80, 1);
  EXPECT_EQ(scale.positionOf(0), 0.0);
  EXPECT_EQ(scale.positionOf(1), 1.0);
  EXPECT_EQ(scale.positionOf(100), 2.0);
  EXPECT_EQ(scale.positionOf(2500000050), 41.0);
  EXPECT_EQ(scale.positionOf(5000000000), 80.0);
  EXPECT_EQ(scale.positionOf(INT64_MAX), 80.0);
}

TEST(Scale, FillsTheColumnsOfWhatWasRead) {
  const auto segments = inARow({40, 40});
  const Scale scale(segments, 8, 1);
  EXPECT_EQ(scale.filled({}), std::vector<double>(8));
  EXPECT_EQ(scale.filled({{0, 80}}), std::vector<double>(8, 1.0));
  EXPECT_EQ(scale.filled({{5, 20}, {70, 80}}), (std::vector<double>{0.5, 1, 0, 0, 0, 0, 0, 1}));
  EXPECT_DOUBLE_EQ(scale.filled({{0, 2}, {7, 10}}).front(), 0.5);
}

TEST(Scale, FillsNothingBehindTheEnd) {
  const auto segments = inARow({80});
  EXPECT_EQ(Scale(segments, 4, 1).filled({{60, 100}, {200, 300}}), (std::vector<double>{0, 0, 0, 1}));
}

TEST(Scale, ShowsASingleByteOfAHugeItem) {
  const auto segments = inARow({5000000000});
  const auto filled = Scale(segments, 80, 1).filled({{2500000000, 2500000001}});
  EXPECT_GT(filled[40], 0);
  EXPECT_LT(filled[40], 0.001);
  EXPECT_EQ(filled[39], 0);
  EXPECT_EQ(filled[41], 0);
}

TEST(Scale, OfNothingIsEmpty) {
  const std::vector<Segment> nothing;
  EXPECT_EQ(Scale(nothing, 80, 1).columnOf(0), 80U);
  EXPECT_EQ(Scale(nothing, 80, 1).filled({{0, 10}}), std::vector<double>(80));
}

}  // namespace
}  // namespace quorin_command
