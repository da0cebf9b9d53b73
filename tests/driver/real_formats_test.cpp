// FLAC, WAV, ADTS and PCM by real encoders: what is said about them, held against what other programs say.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <sstream>

#include "analysis.h"
#include "encoded_mp3.h"
#include "formats/analyzer_audio_adts.h"
#include "framework/status.h"
#include "quorin/audio_info.h"
#include "support/adts_builder.h"
#include "support/run_command.h"
#include "unit/format_analysis.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

using Options = std::vector<std::string>;

Options operator+(Options front, const Options& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

/// What a program prints that must succeed.
std::string outputOf(const Options& command) {
  const CommandRun run = runCommand(command);
  EXPECT_TRUE(run.ok()) << command.front() << " ended with " << run.exitCode << ": " << run.errors;
  return run.output;
}

std::string fresh(const std::string& ending) {
  static int count = 0;
  return encodedFolder() / ("format" + std::to_string(++count) + ending);
}

/// Three seconds of sound; 16 bits per sample.
std::string wave(unsigned rate = 44100, unsigned channels = 2) {
  const std::string path = fresh(".wav");
  outputOf({"sox", "-n", "-b", "16", "-r", std::to_string(rate), "-c", std::to_string(channels), path, "synth", "3",
            "sine", "300-3000"});
  return path;
}

std::string flac(const std::string& input, const Options& options = {}) {
  const std::string path = fresh(".flac");
  outputOf(Options{"flac", "-s", "-f"} + options + Options{"-o", path, input});
  return path;
}

std::string ffmpeg(const std::string& input, const Options& options, const std::string& ending) {
  const std::string path = fresh(ending);
  outputOf(Options{"ffmpeg", "-v", "error", "-y", "-i", input} + options + Options{path});
  return path;
}

/// One property of the first audio stream by ffprobe.
std::string probed(const std::string& path, const std::string& entry) {
  std::string text = outputOf({"ffprobe", "-v", "error", "-select_streams", "a:0", "-show_entries", entry,
                               "-read_intervals", "%+#1", "-of", "default=nokey=1:noprint_wrappers=1", path});
  return text.substr(0, text.find('\n'));
}

std::string metaflac(const std::string& path, const std::string& option) {
  const std::string text = outputOf({"metaflac", option, path});
  return text.substr(0, text.find('\n'));
}

/// Everything that a player gets.
Bytes playedFrom(strell::Strell& strell) {
  Bytes played;
  std::vector<strell::IcyData> icy;
  for (;;) {
    Bytes chunk(10000);
    unsigned int got = 0;
    const int status = strell.readData(chunk.data(), static_cast<unsigned int>(chunk.size()), got, icy);
    played.insert(played.end(), chunk.begin(), chunk.begin() + got);
    if (status != 0) {
      return played;
    }
  }
}

/// The samples that ffmpeg decodes; it must not complain.
std::string decodedSamples(const std::string& path) {
  const CommandRun run = runCommand({"ffmpeg", "-v", "error", "-i", path, "-f", "s16le", "-"});
  EXPECT_TRUE(run.ok() && run.errors.empty()) << run.errors;
  return run.output;
}

/// What a player gets decodes to the samples of the whole file.
void expectSoundPlaying(strell::Strell& strell, const std::string& path, const std::string& ending) {
  const std::string cut = encodedFolder().write("played" + ending, playedFrom(strell));
  EXPECT_TRUE(decodedSamples(cut) == decodedSamples(path));
}

// ---- FLAC ----

void expectFlac(const Analysis& analysis, const std::string& path) {
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("media_type"), "4");
  EXPECT_EQ(analysis.value("sampling_frequency"), metaflac(path, "--show-sample-rate"));
  EXPECT_EQ(analysis.value("data_start"), "0");
  EXPECT_EQ(analysis.value("data_end"), std::to_string(readFile(path).size() - 1));
  EXPECT_EQ(analysis.value("time_calc_start"), probed(path, "packet=pos"));
  EXPECT_EQ(analysis.value("can"), "seek speed pause");
}

TEST(RealFlac, RatesAndChannels) {
  for (const unsigned rate : {8000U, 44100U, 96000U}) {
    for (const unsigned channels : {1U, 2U, 6U, 8U}) {
      const std::string path = flac(wave(rate, channels));
      const Analysis analysis(path);
      expectFlac(analysis, path);
      EXPECT_EQ(analysis.value("duration"), "3 0");
      EXPECT_EQ(analysis.number("bitrate"), rate * 16 / 1000 * 1000) << "that of one channel";
    }
  }
}

TEST(RealFlac, TwentyFourBits) {
  const std::string path = ffmpeg(wave(), {"-c:a", "flac", "-sample_fmt", "s32"}, ".flac");
  EXPECT_EQ(metaflac(path, "--show-bps"), "24");
  EXPECT_EQ(Analysis(path).value("bitrate"), "1058000");
}

TEST(RealFlac, PaddingAndSeekTablesAreStepped) {
  for (const std::string padding : {"--padding=10", "--padding=70000", "--padding=2000000"}) {
    const std::string path = flac(wave(), {padding, "--seekpoint=100x"});
    const Analysis analysis(path);
    expectFlac(analysis, path);
    expectSoundPlaying(*analysis.result->strell, path, ".flac");
  }
}

TEST(RealFlac, PicturesLieWhereTheyAreSaidToLie) {
  for (const unsigned side : {64U, 700U}) {
    const std::string cover = fresh(".png");
    const std::string noise =
        "nullsrc=size=" + std::to_string(side) + "x" + std::to_string(side) + ",format=rgb24,noise=alls=100:allf=t";
    outputOf({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", noise, "-frames:v", "1", cover});
    const std::string path = flac(wave(), {"--picture=" + cover, "--picture=4||back||" + cover});
    const Analysis analysis(path);
    expectFlac(analysis, path);
    const auto audio = boost::dynamic_pointer_cast<AudioInfo>(analysis.result->info);
    ASSERT_TRUE(audio);
    const Bytes file = readFile(path);
    int count = 0;
    for (auto found = audio->embeddedPicturesBegin(); found != audio->embeddedPicturesEnd(); ++found, ++count) {
      const auto begin = file.begin() + static_cast<std::ptrdiff_t>(found->offset);
      EXPECT_TRUE(Bytes(begin, begin + found->length) == readFile(cover));
    }
    EXPECT_EQ(count, 2);
  }
}

// The encoder could not go back to write the number of samples; the size tells less than ffprobe finds out by reading.
TEST(RealFlac, AnUnknownLengthIsEstimatedAndDiffersFromTheTruth) {
  const std::string encoded = outputOf({"ffmpeg", "-v", "error", "-i", wave(), "-f", "flac", "pipe:1"});
  const std::string path = encodedFolder().write("pipe.flac", encoded);
  EXPECT_EQ(metaflac(path, "--show-total-samples"), "0");
  const Analysis analysis(path);
  expectFlac(analysis, path);
  EXPECT_TRUE(analysis.log.find("calc duration via file size") != std::string::npos);
  const auto samples = (encoded.size() - static_cast<size_t>(analysis.number("time_calc_start"))) * 64 / 10 / 16;
  EXPECT_EQ(analysis.value("duration").substr(0, 2), std::to_string(samples / 44100) + " ");
}

// ---- WAV ----

TEST(RealWav, PlainPcmOfEveryWidth) {
  for (const std::string bits : {"8", "16", "24", "32"}) {
    const std::string path = fresh(".wav");
    outputOf({"sox", wave(), "-b", bits, "-t", "wavpcm", path});
    const Analysis analysis(path);
    EXPECT_EQ(analysis.answer, "audio/x-wav\nsampling_frequency 44100\nbitrate " +
                                   std::to_string(std::stoi(probed(path, "stream=bit_rate")) / 1000) +
                                   "000\nduration 3 0\ndata_start 0\ntime_calc_start 0\ndata_end " +
                                   std::to_string(readFile(path).size() - 1) +
                                   "\nmedia_type 3\ncan seek speed pause\n");
    expectSoundPlaying(*analysis.result->strell, path, ".wav");
  }
}

TEST(RealWav, ALeadingListChunkIsStepped) {
  const Bytes file = readFile(wave());
  const Bytes list = {'L', 'I', 'S', 'T', 4, 0, 0, 0, 'I', 'N', 'F', 'O'};
  const Bytes withList = concat({head(file, 12), list, Bytes(file.begin() + 12, file.end())});
  EXPECT_EQ(Analysis(encodedFolder().write("list.wav", withList)).value("duration"), "3 0");
}

TEST(RealWav, FloatAndExtensibleAreRefused) {
  const std::string path = fresh(".wav");
  outputOf({"sox", wave(), "-e", "floating-point", "-b", "32", path});
  const Analysis floating(path);
  EXPECT_EQ(floating.answer, "application/unknown\n");
  EXPECT_TRUE(floating.logged("3000 AnalyzerAudioWav::checkWave(): wave audio format 3 not supported"));
  outputOf({"sox", wave(), "-b", "24", path});
  const Analysis extensible(path);
  EXPECT_EQ(extensible.answer, "application/unknown\n");
  EXPECT_TRUE(extensible.logged("3000 AnalyzerAudioWav::checkWave(): wave audio format 65534 not supported"));
}

// ---- ADTS ----

// By this analyzer alone: the one of MPEG audio, which is asked first, takes some of these files for its own.
using AdtsAnalysis = FormatAnalysis<AnalyzerAudioAdts>;

struct AdtsSound {
  unsigned rate;
  unsigned channels;
};

TEST(RealAdts, RatesAndChannels) {
  for (const AdtsSound& sound : {AdtsSound{8000, 1}, {22050, 2}, {44100, 1}, {44100, 2}, {48000, 6}, {96000, 2}}) {
    const std::string path =
        ffmpeg(wave(sound.rate, sound.channels), {"-c:a", "aac", "-b:a", "64k", "-f", "adts"}, ".aac");
    const AdtsAnalysis analysis(readFile(path));
    EXPECT_EQ(analysis.status, 0);
    EXPECT_EQ(analysis.value("sampling_frequency"), probed(path, "stream=sample_rate"));
    EXPECT_EQ(analysis.value("frame_size"), probed(path, "packet=size"));
    EXPECT_EQ(analysis.value("data_start"), probed(path, "packet=pos"));
    EXPECT_EQ(analysis.value("media_type"), "7");
    EXPECT_EQ(analysis.value("bitrate"), "") << "a file tells none";
    expectSoundPlaying(*analysis.strell, path, ".aac");
  }
}

TEST(RealAdts, JunkBeforeTheFirstFrameIsSkipped) {
  const std::string path = ffmpeg(wave(), {"-c:a", "aac", "-f", "adts"}, ".aac");
  const AdtsAnalysis analysis(concat({filler(1000), readFile(path)}));
  EXPECT_EQ(analysis.value("data_start"), "1000");
  expectSoundPlaying(*analysis.strell, path, ".aac");
}

// ---- DLNA PCM, and the order of the chain ----

/// An answer about `bytes` that a server sends with this content type.
Analysis served(const std::string& contentType, const Bytes& bytes, int mode = Analyzer::MODE_AUDIO) {
  SourceScript script;
  script.bytes = bytes;
  const ScriptedScheme scheme("served", [&](const std::string&) {
    return ScriptedScheme::Answer{
        0, boost::make_shared<ScriptedHttpSource>(
               script, std::deque<std::string>{"HTTP/1.1 200 OK\r\n", "Content-Type: " + contentType + "\r\n"})};
  });
  return Analysis("served:item", mode);
}

TEST(RealDlnaPcm, RawSamplesAreDescribedInEveryMode) {
  const std::string path = fresh(".raw");
  outputOf({"sox", wave(), "-t", "raw", "-B", path});
  for (const int mode : {Analyzer::MODE_NONE, Analyzer::MODE_AUDIO}) {
    const Analysis analysis = served("audio/L16;rate=44100;channels=2", readFile(path), mode);
    EXPECT_EQ(analysis.answer,
              "audio/L16\nsampling_frequency 44100\nbitrate 1411000\nduration 3 0\ndata_start 0\ntime_calc_start 0\n"
              "data_end 529199\nmedia_type 2\nchannels 2\ncan seek speed pause\n");
  }
}

TEST(Chain, AWaveFileServedAsPcmGoesToTheWavAnalyzer) {
  const Bytes file = readFile(wave());
  EXPECT_EQ(served("audio/L16;rate=44100;channels=2", file).value("media_type"), "3");
  EXPECT_EQ(served("audio/L16;rate=44100;channels=2", file, Analyzer::MODE_NONE).answer, "application/unknown\n");
}

TEST(Chain, WithoutTheAudioModeOnlyPcmIsKnown) {
  for (const std::string& path : {wave(), flac(wave())}) {
    const Analysis analysis(path, Analyzer::MODE_NONE);
    EXPECT_EQ(analysis.answer, "application/unknown\n");
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  }
}

// Two MPEG frame headers in the distance of their frame size, by chance inside of AAC frames, are enough.
TEST(Chain, AacThatHoldsTwoMpegHeadersGoesToTheMpegAnalyzer) {
  const Bytes aac = adtsFrames(1000);
  EXPECT_EQ(served("audio/aac", aac).value("media_type"), "7");
  const Bytes header = {0xff, 0xfb, 0x90, 0x00};
  const Bytes unlucky = overlay(overlay(aac, 8, header), 8 + 417, header);
  EXPECT_EQ(FormatAnalysis<AnalyzerAudioAdts>(unlucky).status, 0);
  EXPECT_EQ(served("audio/aac", unlucky).value("media_type"), "0");
}

TEST(Chain, AsksInItsOrder) {
  const Analysis analysis = served("audio/x-nothing", filler(20000));
  std::vector<std::string> asked;
  std::istringstream lines(analysis.log);
  for (std::string line; std::getline(lines, line);) {
    const size_t end = line.find("::analyze() in");
    if (end != std::string::npos) {
      asked.push_back(line.substr(5, end - 5));
    }
  }
  EXPECT_EQ(asked, (std::vector<std::string>{"AnalyzerAudioDlnaPcm", "AnalyzerAudioWav", "AnalyzerAudioFlac",
                                             "AnalyzerAudioMp3", "AnalyzerAudioAdts"}));
}

}  // namespace
}  // namespace zu::md::common::quorin
