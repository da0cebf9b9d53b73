// MP3 files by real encoders: what is said about them, held against what other programs say.

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cmath>

#include "analysis.h"
#include "framework/status.h"
#include "support/encoded_mp3.h"
#include "support/id3_bytes.h"
#include "support/run_command.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

/// Analyses bytes through a scripted source; what the source has seen stays to be looked at.
struct MemoryAnalysis {
  explicit MemoryAnalysis(const Bytes& bytes)
      : source(boost::make_shared<ScriptedSource>([&bytes] {
          SourceScript script;
          script.bytes = bytes;
          return script;
        }())),
        scheme("real",
               [this](const std::string&) {
                 return ScriptedScheme::Answer{0, source};
               }),
        analysis("real:item") {}

  boost::shared_ptr<ScriptedSource> source;
  ScriptedScheme scheme;
  Analysis analysis;
};

Bytes cut(const Bytes& bytes, long long first, long long last) {
  return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(first),
               bytes.begin() + static_cast<std::ptrdiff_t>(last) + 1);
}

/// From where the analyzer has the item on: the lines before name the URI.
std::string linesOfTheAnalyzer(const Analysis& analysis) {
  return analysis.log.substr(std::min(analysis.log.find("4000 AnalyzerAudioMp3::analyze() in"), analysis.log.size()));
}

/// What holds for every file: source in memory and on disk answer alike, the audio begins where ffprobe sees the first
/// packet, a player gets the bytes from there on, and decoding them gives the very samples of the whole file.
Analysis expectSoundAnswer(const EncodedMp3& file) {
  const MemoryAnalysis memory(file.bytes());
  const Analysis onDisk(file.path());
  EXPECT_EQ(onDisk.answer, memory.analysis.answer);
  EXPECT_EQ(linesOfTheAnalyzer(onDisk), linesOfTheAnalyzer(memory.analysis));
  EXPECT_EQ(onDisk.status, 0);
  EXPECT_EQ(onDisk.value("sampling_frequency"), std::to_string(file.sampleRate()));
  EXPECT_EQ(onDisk.value("media_type"), "0");
  EXPECT_EQ(onDisk.value("can"), "seek speed pause");
  EXPECT_EQ(onDisk.number("data_start"), file.audioStart());
  EXPECT_TRUE(playedFrom(onDisk.result->strell) == slice(file.bytes(), file.audioStart(), file.bytes().size()));
  const std::string samples = decodedMp3(cut(file.bytes(), onDisk.number("data_start"), onDisk.number("data_end")));
  EXPECT_FALSE(samples.empty());
  EXPECT_TRUE(samples == decodedMp3(file.bytes()));
  return onDisk;
}

/// The information header counts whole frames, so the length is exact up to the truncation to seconds.
void expectExactDuration(const EncodedMp3& file, const Analysis& analysis) {
  EXPECT_EQ(analysis.number("duration"), std::stoi(mediainfo(file.path(), "Duration")) / 1000);
  EXPECT_EQ(analysis.value("duration"), std::to_string(static_cast<long long>(file.duration())) + " 0");
}

// ---- encodings ----

TEST(RealMp3, ConstantBitratesOfMpeg1) {
  for (const std::string bitrate : {"32", "128", "224"}) {
    const EncodedMp3 file = EncodedMp3::byLame({"-b", bitrate});
    const Analysis analysis = expectSoundAnswer(file);
    expectExactDuration(file, analysis);
    EXPECT_EQ(analysis.value("bitrate"), bitrate + "000");
    EXPECT_EQ(file.bitrate(), analysis.number("bitrate"));
    EXPECT_EQ(mediainfo(file.path(), "BitRate"), analysis.value("bitrate"));
  }
}

TEST(RealMp3, BitratesBeyondTheByteOfTheLameExtensionReadAs255UnlikeByFfprobe) {
  for (const std::string bitrate : {"256", "320"}) {
    const EncodedMp3 file = EncodedMp3::byLame({"-b", bitrate});
    EXPECT_EQ(expectSoundAnswer(file).value("bitrate"), "255000");
    EXPECT_EQ(file.bitrate(), std::stoi(bitrate + "000"));
  }
}

TEST(RealMp3, LowerSampleRates) {
  const struct {
    unsigned rate;
    const char* bitrate;
  } cases[] = {{48000, "160"}, {32000, "96"}, {24000, "64"}, {22050, "64"},
               {16000, "48"},  {12000, "32"}, {11025, "32"}, {8000, "16"}};
  for (const auto& [rate, bitrate] : cases) {
    const EncodedMp3 file =
        EncodedMp3::byLame({"-b", bitrate, "--resample", std::to_string(rate / 1000.0)}, Sound{rate});
    const Analysis analysis = expectSoundAnswer(file);
    expectExactDuration(file, analysis);
    EXPECT_EQ(analysis.value("sampling_frequency"), std::to_string(rate));
    EXPECT_EQ(analysis.value("bitrate"), std::string(bitrate) + "000");
  }
}

TEST(RealMp3, OneChannel) {
  for (const unsigned rate : {44100U, 22050U, 11025U}) {
    const EncodedMp3 file = EncodedMp3::byLame({"-b", "64"}, Sound{rate, 1});
    expectExactDuration(file, expectSoundAnswer(file));
  }
}

TEST(RealMp3, StereoModes) {
  for (const std::string mode : {"s", "j", "f"}) {
    const EncodedMp3 file = EncodedMp3::byLame({"-b", "128", "-m", mode});
    expectSoundAnswer(file);
  }
}

TEST(RealMp3, DualChannelPlaysItsInformationFrame) {
  // Its header is looked for where that of one channel lies, so the frame counts as audio: one frame of silence more.
  const EncodedMp3 file = EncodedMp3::byLame({"-b", "128", "-m", "d"});
  const Analysis analysis(file.path());
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("data_start"), "0");
  EXPECT_EQ(file.audioStart(), 417);
  EXPECT_EQ(analysis.value("bitrate"), "128000");
  EXPECT_NEAR(static_cast<double>(analysis.number("duration")), file.duration(), 1);
}

TEST(RealMp3, VariableBitrateCountsWholeSecondsUnlikeThatOfFfprobe) {
  for (const std::string quality : {"0", "4", "9"}) {
    const EncodedMp3 file = EncodedMp3::byLame({"-V", quality});
    const Analysis analysis = expectSoundAnswer(file);
    expectExactDuration(file, analysis);
    // All bytes over the seconds without their fraction: more than the true average by that share.
    const double average = file.bitrate() * file.duration() / std::floor(file.duration()) / 1000;
    EXPECT_NEAR(static_cast<double>(analysis.number("bitrate")) / 1000, average, 2);
  }
}

TEST(RealMp3, AverageBitrateIsTheOneAskedForUnlikeThatOfFfprobe) {
  const EncodedMp3 file = EncodedMp3::byLame({"--abr", "150"});
  const Analysis analysis = expectSoundAnswer(file);
  expectExactDuration(file, analysis);
  EXPECT_EQ(analysis.value("bitrate"), "150000");
  EXPECT_NE(file.bitrate(), 150000) << "what came out of it";
}

TEST(RealMp3, ConstantBitrateWithoutInformationHeader) {
  for (const std::string bitrate : {"64", "160", "320"}) {
    const EncodedMp3 file = EncodedMp3::byLame({"-t", "-b", bitrate});
    const Analysis analysis = expectSoundAnswer(file);
    EXPECT_EQ(analysis.value("data_start"), "0");
    EXPECT_EQ(analysis.value("bitrate"), bitrate + "000");
    const auto bytes = static_cast<long long>(file.bytes().size());
    EXPECT_EQ(analysis.number("duration"), bytes * 8 / std::stoll(bitrate + "000"));
    EXPECT_NEAR(static_cast<double>(analysis.number("duration")), file.duration(), 1);
  }
}

TEST(RealMp3, ByFfmpegWithAndWithoutInformationHeader) {
  const EncodedMp3 with = EncodedMp3::byFfmpeg({"-b:a", "128k"});
  expectExactDuration(with, expectSoundAnswer(with));
  const EncodedMp3 without = EncodedMp3::byFfmpeg({"-write_xing", "0", "-b:a", "128k"});
  const Analysis analysis = expectSoundAnswer(without);
  EXPECT_NEAR(static_cast<double>(analysis.number("duration")), without.duration(), 1);
  const EncodedMp3 variable = EncodedMp3::byFfmpeg({"-q:a", "3"});
  expectExactDuration(variable, expectSoundAnswer(variable));
}

TEST(RealMp3, FreeFormatOf128KilobitsIsRecognised) {
  const EncodedMp3 file = EncodedMp3::byLame({"--freeformat", "-b", "128"});
  const Analysis analysis(file.path());
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("data_start"), "417");
  EXPECT_EQ(analysis.value("bitrate"), "128000");  // from the LAME extension
  EXPECT_TRUE(decodedMp3(cut(file.bytes(), 417, analysis.number("data_end"))) == decodedMp3(file.bytes()));
}

TEST(RealMp3, FreeFormatOfOtherBitratesIsDeclined) {
  // Its frames are not where those of 128 kbit/s would be.
  const EncodedMp3 file = EncodedMp3::byLame({"--freeformat", "-b", "400"});
  const Analysis analysis(file.path());
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.answer, "application/unknown\n");
}

// ---- tags ----

TEST(RealMp3, Id3v1EndsTheAudio) {
  const EncodedMp3 file = EncodedMp3::byLame({"-b", "128", "--tt", "Opening", "--id3v1-only"});
  const Analysis analysis = expectSoundAnswer(file);
  EXPECT_EQ(analysis.number("data_end"), static_cast<long long>(file.bytes().size()) - 129);
  EXPECT_EQ(analysis.value("data_start"), "417");
}

TEST(RealMp3, Id3v2OfBothVersions) {
  for (const std::string version : {"3", "4"}) {
    const EncodedMp3 file = EncodedMp3::byFfmpeg(
        {"-b:a", "128k", "-id3v2_version", version, "-metadata", "title=Opening", "-write_id3v1", "1"});
    const Analysis analysis = expectSoundAnswer(file);
    EXPECT_EQ(analysis.number("data_end"), static_cast<long long>(file.bytes().size()) - 129);
    EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioMp3::checkID3v2(): major version " + version));
  }
  const EncodedMp3 padded =
      EncodedMp3::byLame({"-b", "128", "--tt", "Opening", "--id3v2-only", "--pad-id3v2-size", "5000"});
  expectSoundAnswer(padded);
}

/// Bytes that begin like a JPEG, as many as asked for, with every value among them.
Bytes jpegLike(size_t size) {
  Bytes picture = noise(size, 5);
  for (size_t i = 0; i < size; i += 3) {
    picture[i] = static_cast<unsigned char>(0xff - i % 251);
  }
  return overlay(picture, 0, {0xff, 0xd8, 0xff, 0xe0});
}

TEST(RealMp3, CoversAreTheVeryBytesThatWereEmbedded) {
  for (const size_t size : {20480U, 1572864U}) {
    const Bytes cover = jpegLike(size);
    const std::string path = encodedFolder().write(std::to_string(size) + ".jpg", cover);
    const EncodedMp3 file = EncodedMp3::byLame({"-b", "128", "--tt", "Opening", "--ti", path});
    const Analysis analysis = expectSoundAnswer(file);
    EXPECT_TRUE(analysis.picturesIn(file.bytes()) == std::vector<Bytes>{cover}) << size;
  }
}

TEST(RealMp3, SeveralCoversInTagsOfBothVersions) {
  const std::string little = noisyPng(105);  // about 20 KB, smaller than the cache
  const std::string large = noisyPng(920);   // about 1.5 MB, larger
  for (const std::string version : {"3", "4"}) {
    for (const Options& covers : {Options{little}, Options{large}, Options{little, large, little}}) {
      const EncodedMp3 file =
          EncodedMp3::byFfmpeg({"-b:a", "128k", "-id3v2_version", version}, Sound{44100, 2, 2}, covers);
      std::vector<Bytes> expected;
      for (const std::string& cover : covers) {
        expected.push_back(readFile(cover));
      }
      const Analysis analysis = expectSoundAnswer(file);
      EXPECT_TRUE(analysis.picturesIn(file.bytes()) == expected) << version << ", " << covers.size();
    }
  }
}

TEST(RealMp3, CoversInVersion2TagsBeforeRealAudio) {
  const EncodedMp3 audio = EncodedMp3::byLame({"-t", "-b", "128"});
  for (const std::vector<size_t>& sizes : {std::vector<size_t>{20480}, {1572864}, {20480, 1572864, 30000}}) {
    Bytes frames;
    std::vector<Bytes> covers;
    for (const size_t size : sizes) {
      covers.push_back(jpegLike(size));
      frames = concat({frames, id3v2Picture(2, covers.back())});
    }
    Id3v2Tag tag;
    tag.major = 2;
    const Bytes bytes = concat({tag.around(frames), audio.bytes()});
    const MemoryAnalysis memory(bytes);
    EXPECT_EQ(memory.analysis.number("data_start"), static_cast<long long>(bytes.size() - audio.bytes().size()));
    EXPECT_TRUE(memory.analysis.picturesIn(bytes) == covers);
    EXPECT_TRUE(playedFrom(memory.analysis.result->strell) == audio.bytes());
  }
}

// ---- playing ----

TEST(RealMp3, WhatTheSourceDeliversAfterTheAnalysisDecodes) {
  const std::string cover = writtenFile(".jpg", jpegLike(1572864));
  for (const Options& options : {Options{"-b", "128", "--ti", cover}, Options{"-V", "4"}, Options{"-t", "-b", "64"}}) {
    const EncodedMp3 file = EncodedMp3::byLame(options);
    expectSoundPlaying(Analysis(file.path()).result->strell, file.path());
  }
}

// ---- what it costs ----

struct Cost {
  unsigned long long bytes;
  int reads;
};

void expectCostsAtMost(const Bytes& bytes, const Cost& most) {
  const MemoryAnalysis memory(bytes);
  EXPECT_EQ(memory.analysis.status, 0);
  EXPECT_LE(memory.source->calls.bytes, most.bytes);
  EXPECT_LE(memory.source->calls.reads, most.reads);
}

TEST(RealMp3, AFileWithoutTagsCostsOneStepOfTheCacheAndItsEnd) {
  expectCostsAtMost(EncodedMp3::byLame({"-b", "128"}).bytes(), {4096 + 128, 2});
  expectCostsAtMost(EncodedMp3::byLame({"-t", "-b", "320"}).bytes(), {4096 + 128, 2});
}

TEST(RealMp3, ASmallCoverCostsTheHeadUpToTheAudio) {
  const std::string path = encodedFolder().write("small.jpg", jpegLike(20480));
  expectCostsAtMost(EncodedMp3::byLame({"-b", "128", "--ti", path}).bytes(), {32768 + 128, 6});
}

TEST(RealMp3, ALargeCoverIsNotRead) {
  const std::string path = encodedFolder().write("large.jpg", jpegLike(1572864));
  expectCostsAtMost(EncodedMp3::byLame({"-b", "128", "--ti", path}).bytes(), {65536, 8});
}

}  // namespace
}  // namespace zu::md::common::quorin
