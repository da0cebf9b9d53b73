#include "support/encoders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/run_command.h"

namespace quorin_test {

namespace {

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

}  // namespace

Options operator+(Options front, const Options& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

std::string outputOf(const Options& command) {
  const CommandRun run = runCommand(command);
  EXPECT_TRUE(run.ok()) << command.front() << " ended with " << run.exitCode << ": " << run.errors;
  return run.output;
}

const TemporaryFolder& encodedFolder() {
  static const TemporaryFolder folder;
  return folder;
}

std::string freshPath(const std::string& ending) {
  static int count = 0;
  return encodedFolder() / (std::to_string(++count) + ending);
}

std::string writtenFile(const std::string& ending, const Bytes& bytes) {
  const std::string path = freshPath(ending);
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return path;
}

Bytes readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string wave(unsigned rate, unsigned channels, const Options& sound) {
  const std::string path = freshPath(".wav");
  outputOf(Options{"sox", "-R", "-n", "-b", "16", "-r", std::to_string(rate), "-c", std::to_string(channels), path,
                   "synth"} +
           sound);
  return path;
}

std::string sox(const std::string& input, const Options& options, const std::string& ending) {
  const std::string path = freshPath(ending);
  outputOf(Options{"sox", "-R", input} + options + Options{path});
  return path;
}

std::string flac(const std::string& input, const Options& options) {
  const std::string path = freshPath(".flac");
  outputOf(Options{"flac", "-s", "-f"} + options + Options{"-o", path, input});
  return path;
}

std::string ffmpeg(const std::string& input, const Options& options, const std::string& ending) {
  const std::string path = freshPath(ending);
  outputOf(Options{"ffmpeg", "-v", "error", "-y", "-i", input} + options + Options{path});
  return path;
}

std::string noisyPng(unsigned side) {
  const std::string path = freshPath(".png");
  const std::string pixels = std::to_string(side) + "x" + std::to_string(side);
  outputOf({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i",
            "nullsrc=size=" + pixels + ",format=rgb24,noise=alls=100:allf=t", "-frames:v", "1", path});
  return path;
}

std::string probed(const std::string& path, const std::string& entry) {
  return firstLine(outputOf({"ffprobe", "-v", "error", "-select_streams", "a:0", "-show_entries", entry,
                             "-read_intervals", "%+#1", "-of", "default=nokey=1:noprint_wrappers=1", path}));
}

std::string mediainfo(const std::string& path, const std::string& property) {
  return firstLine(outputOf({"mediainfo", "--Inform=Audio;%" + property + "%", path}));
}

std::string metaflac(const std::string& path, const std::string& option) {
  return firstLine(outputOf({"metaflac", option, path}));
}

Bytes playedFrom(const OpenItem& item, size_t most, std::vector<zu::md::common::strell::IcyData>* icy) {
  constexpr size_t step = 10000;
  Bytes played;
  std::vector<zu::md::common::strell::IcyData> met;
  EXPECT_TRUE(item) << "nothing is open";
  for (int status = item ? 0 : -1; status == 0 && played.size() < most;) {
    Bytes chunk(std::min(step, most - played.size()));
    unsigned int got = 0;
    status = item->readData(chunk.data(), static_cast<unsigned int>(chunk.size()), got, met);
    played.insert(played.end(), chunk.begin(), chunk.begin() + got);
  }
  if (icy != nullptr) {
    *icy = met;
  }
  return played;
}

std::string decodedSamples(const std::string& path) {
  if (std::filesystem::path(path).extension() == ".flac") {
    outputOf({"flac", "--test", "--silent", path});
  }
  const CommandRun run = runCommand({"ffmpeg", "-v", "error", "-i", path, "-map", "0:a", "-f", "s16le", "-"});
  EXPECT_TRUE(run.ok() && run.errors.empty()) << run.errors;
  return run.output;
}

std::string decodedMp3(const Bytes& mp3) {
  const std::string path = writtenFile(".cut.mp3", mp3);
  const CommandRun run = runCommand({"mpg123", "-q", "-s", "--no-gapless", "--no-resync", path});
  EXPECT_TRUE(run.ok() && run.errors.empty()) << "mpg123 ended with " << run.exitCode << ": " << run.errors;
  return run.ok() && run.errors.empty() ? run.output : std::string();
}

void expectSoundPlaying(const OpenItem& item, const std::string& path) {
  const std::string ending = std::filesystem::path(path).extension();
  const Bytes cut = playedFrom(item);
  std::string samples;
  if (ending == ".mp3") {
    EXPECT_TRUE(!cut.empty() && cut.front() == 0xff) << "mpg123 steps silently over bytes before the first frame";
    samples = decodedMp3(cut);
    EXPECT_TRUE(samples == decodedMp3(readFile(path)));
  } else {
    samples = decodedSamples(writtenFile(ending, cut));
    EXPECT_TRUE(samples == decodedSamples(path));
  }
  EXPECT_FALSE(samples.empty());
}

}  // namespace quorin_test
