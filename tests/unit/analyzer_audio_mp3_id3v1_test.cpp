// The end of the audio data and the ID3v1 tag behind it.

#include <gtest/gtest.h>

#include "formats/analyzer_audio_mp3.h"
#include "mp3_analysis.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

/// Plain frames in exactly `size` bytes.
SourceScript file(size_t size) { return Mp3Analysis::scriptOf(head(mpegFrames(size / 417 + 1), size)); }

SourceScript fileWithTag(size_t size) {
  SourceScript script = file(size);
  script.bytes = overlay(script.bytes, size - 128, id3v1Tag());
  return script;
}

const char* const foundTag = "5000 AnalyzerAudioMp3::findID3v1Tag(): found ID3v1 tag";

TEST(AnalyzerAudioMp3Id3v1, WithoutATagTheAudioEndsWithTheFile) {
  const Mp3Analysis analysis(file(20000));
  EXPECT_EQ(analysis.value("data_end"), "19999");
  EXPECT_FALSE(analysis.logged(foundTag));
}

TEST(AnalyzerAudioMp3Id3v1, ATagIsNotPartOfTheAudio) {
  const Mp3Analysis analysis(fileWithTag(20000));
  EXPECT_EQ(analysis.value("data_end"), "19871");
  EXPECT_TRUE(analysis.logged("5000 AnalyzerBase::skipData():# skipping 0 bytes.\n" + std::string(foundTag) +
                              "\n4000 AnalyzerAudioMp3::analyze(): MP3 found"));
}

TEST(AnalyzerAudioMp3Id3v1, ATagElsewhereIsAudio) {
  SourceScript script = file(20000);
  script.bytes = overlay(script.bytes, 20000 - 129, id3v1Tag());
  EXPECT_EQ(Mp3Analysis(script).value("data_end"), "19999");
}

TEST(AnalyzerAudioMp3Id3v1, FilesBelow10000BytesAreNotLookedAt) {
  const Mp3Analysis below(fileWithTag(9999));
  EXPECT_EQ(below.value("data_end"), "");
  EXPECT_TRUE(below.logged("3000 AnalyzerAudioMp3::findID3v1Tag(): file to small for id3v1 tag"));
  EXPECT_EQ(Mp3Analysis(fileWithTag(10000)).value("data_end"), "9871");
  EXPECT_EQ(Mp3Analysis(fileWithTag(10001)).value("data_end"), "9872");
}

TEST(AnalyzerAudioMp3Id3v1, NeedsTheSize) {
  SourceScript script = fileWithTag(20000);
  script.sizeKnown = false;
  const Mp3Analysis analysis(script);
  EXPECT_EQ(analysis.value("data_end"), "");
  EXPECT_TRUE(analysis.logged("3000 AnalyzerAudioMp3::findID3v1Tag(): cannot determine file size"));
}

TEST(AnalyzerAudioMp3Id3v1, NeedsASourceThatCanSeek) {
  SourceScript script = fileWithTag(20000);
  script.seekable = false;
  const Mp3Analysis analysis(script);
  EXPECT_EQ(analysis.value("data_end"), "");
  EXPECT_TRUE(analysis.logged("3000 AnalyzerAudioMp3::findID3v1Tag(): must be seekable for id3v1 tag"));
  script.seekable = true;
  script.seekableFault = -5;
  EXPECT_TRUE(Mp3Analysis(script).logged("3000 AnalyzerAudioMp3::findID3v1Tag(): must be seekable for id3v1 tag"));
}

TEST(AnalyzerAudioMp3Id3v1, AFailedSeekIsGivenUp) {
  SourceScript script = fileWithTag(20000);
  script.seekFaults[1] = -5;
  const Mp3Analysis analysis(script);
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("data_end"), "");
  EXPECT_TRUE(analysis.logged("3000 AnalyzerAudioMp3::findID3v1Tag(): error seeking: -5"));
}

TEST(AnalyzerAudioMp3Id3v1, AFailedSeekBackIsLoggedAndTheEndKept) {
  SourceScript script = fileWithTag(20000);
  // Seeks of the source: to the trailer, then back.
  const Mp3Analysis sound(script);
  script.seekFaults[sound.source->calls.seeks] = -5;
  const Mp3Analysis analysis(script);
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("data_end"), "19871");
  EXPECT_TRUE(analysis.logged("3000 AnalyzerAudioMp3::findID3v1Tag(): cannot seek to old offset"));
}

TEST(AnalyzerAudioMp3Id3v1, AFailedOrShortReadSetsNothing) {
  SourceScript failing = fileWithTag(20000);
  failing.failingOffset = 19950;
  EXPECT_EQ(Mp3Analysis(failing).value("data_end"), "");
  SourceScript truncated = fileWithTag(20000);
  truncated.declaredSize = 20050;
  EXPECT_EQ(Mp3Analysis(truncated).value("data_end"), "");
  EXPECT_EQ(Mp3Analysis(truncated).status, 0);
}

TEST(AnalyzerAudioMp3Id3v1, TheReadPositionReturnsToTheDataStart) {
  SourceScript script = fileWithTag(20000);
  script.bytes = concat({Id3v2Tag().around(filler(90)), script.bytes});
  const Mp3Analysis analysis(script);
  long long position = 0;
  EXPECT_EQ(analysis.strell->tell(position), 0);
  EXPECT_EQ(position, 100);
  EXPECT_EQ(analysis.value("data_start"), "100");
}

}  // namespace
}  // namespace zu::md::common::quorin
