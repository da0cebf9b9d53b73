#include "encoded_mp3.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>

#include "support/run_command.h"

namespace quorin_test {

namespace {

Bytes samplesOf(const Sound& sound) {
  constexpr double pi = 3.14159265358979323846;
  Bytes samples;
  for (unsigned i = 0; i < sound.rate * sound.seconds; ++i) {
    const double time = static_cast<double>(i) / sound.rate;
    const double voices = 1 + static_cast<int>(time) % 3;
    double value = 0;
    for (int voice = 0; voice < voices; ++voice) {
      value += std::sin(2 * pi * (220 + 330 * voice + 90 * std::floor(2 * time)) * time) / voices;
    }
    for (unsigned channel = 0; channel < sound.channels; ++channel) {
      const auto sample = static_cast<int>(value * (channel == 0 ? 12000 : 9000));
      samples.push_back(static_cast<unsigned char>(sample & 0xff));
      samples.push_back(static_cast<unsigned char>((sample >> 8) & 0xff));
    }
  }
  return samples;
}

/// A name that no other file of the program has.
std::string freshName(const std::string& ending) {
  static int count = 0;
  return std::to_string(++count) + ending;
}

std::string writtenSound(const Sound& sound) { return encodedFolder().write(freshName(".pcm"), samplesOf(sound)); }

void run(const std::vector<std::string>& command) {
  const CommandRun run = runCommand(command);
  ASSERT_TRUE(run.ok()) << command.front() << " ended with " << run.exitCode << ": " << run.errors;
}

std::vector<std::string> operator+(std::vector<std::string> front, const std::vector<std::string>& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

}  // namespace

const TemporaryFolder& encodedFolder() {
  static const TemporaryFolder folder;
  return folder;
}

Bytes readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

EncodedMp3 EncodedMp3::byLame(const std::vector<std::string>& options, const Sound& sound) {
  const std::string path = encodedFolder() / freshName(".mp3");
  const std::vector<std::string> input = {"-r", "-s", std::to_string(sound.rate / 1000.0), "--bitwidth",
                                          "16", "-m", sound.channels == 1 ? "m" : "j"};
  run(std::vector<std::string>{"lame", "--quiet"} + input + options +
      std::vector<std::string>{writtenSound(sound), path});
  return EncodedMp3(path, readFile(path));
}

EncodedMp3 EncodedMp3::byFfmpeg(const std::vector<std::string>& options, const Sound& sound, const std::string& cover) {
  const std::string path = encodedFolder() / freshName(".mp3");
  std::vector<std::string> input = {"-f",  "s16le",
                                    "-ar", std::to_string(sound.rate),
                                    "-ac", std::to_string(sound.channels),
                                    "-i",  writtenSound(sound)};
  if (!cover.empty()) {
    input = input + std::vector<std::string>{"-i",   cover,  "-map",           "0",           "-map", "1",
                                             "-c:v", "copy", "-disposition:v", "attached_pic"};
  }
  run(std::vector<std::string>{"ffmpeg", "-v", "error", "-y"} + input + options + std::vector<std::string>{path});
  return EncodedMp3(path, readFile(path));
}

std::string EncodedMp3::probe(const std::vector<std::string>& options) const {
  const CommandRun run = runCommand(std::vector<std::string>{"ffprobe", "-v", "error", "-select_streams", "a:0", "-of",
                                                             "default=nokey=1:noprint_wrappers=1"} +
                                    options + std::vector<std::string>{path_});
  EXPECT_TRUE(run.ok()) << "ffprobe ended with " << run.exitCode << ": " << run.errors;
  return run.output;
}

long long EncodedMp3::audioStart() const {
  return std::atoll(probe({"-show_entries", "packet=pos", "-read_intervals", "%+#1"}).c_str());
}

double EncodedMp3::duration() const { return std::atof(probe({"-show_entries", "stream=duration"}).c_str()); }

int EncodedMp3::sampleRate() const { return std::atoi(probe({"-show_entries", "stream=sample_rate"}).c_str()); }

int EncodedMp3::bitrate() const { return std::atoi(probe({"-show_entries", "stream=bit_rate"}).c_str()); }

std::string decoded(const Bytes& mp3) {
  const std::string path = encodedFolder().write(freshName(".cut.mp3"), mp3);
  const CommandRun run = runCommand({"mpg123", "-q", "-s", "--no-gapless", "--no-resync", path});
  EXPECT_TRUE(run.ok() && run.errors.empty()) << "mpg123 ended with " << run.exitCode << ": " << run.errors;
  return run.ok() && run.errors.empty() ? run.output : std::string();
}

}  // namespace quorin_test
