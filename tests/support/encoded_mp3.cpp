#include "support/encoded_mp3.h"

#include <cmath>
#include <cstdlib>

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

}  // namespace

EncodedMp3 EncodedMp3::byLame(const Options& options, const Sound& sound) {
  const std::string path = freshPath(".mp3");
  const Options input = {"-r", "-s", std::to_string(sound.rate / 1000.0), "--bitwidth",
                         "16", "-m", sound.channels == 1 ? "m" : "j"};
  outputOf(Options{"lame", "--quiet"} + input + options + Options{writtenFile(".pcm", samplesOf(sound)), path});
  return EncodedMp3(path, readFile(path));
}

EncodedMp3 EncodedMp3::byFfmpeg(const Options& options, const Sound& sound, const Options& covers) {
  const std::string path = freshPath(".mp3");
  Options inputs = {"-f",  "s16le",
                    "-ar", std::to_string(sound.rate),
                    "-ac", std::to_string(sound.channels),
                    "-i",  writtenFile(".pcm", samplesOf(sound))};
  Options streams = {"-map", "0"};
  for (size_t i = 0; i < covers.size(); ++i) {
    inputs = inputs + Options{"-i", covers[i]};
    streams = streams + Options{"-map", std::to_string(i + 1), "-c:v", "copy", "-disposition:v", "attached_pic"};
  }
  outputOf(Options{"ffmpeg", "-v", "error", "-y"} + inputs + streams + options + Options{path});
  return EncodedMp3(path, readFile(path));
}

long long EncodedMp3::audioStart() const { return std::atoll(probed(path_, "packet=pos").c_str()); }

double EncodedMp3::duration() const { return std::atof(probed(path_, "stream=duration").c_str()); }

int EncodedMp3::sampleRate() const { return std::atoi(probed(path_, "stream=sample_rate").c_str()); }

int EncodedMp3::bitrate() const { return std::atoi(probed(path_, "stream=bit_rate").c_str()); }

}  // namespace quorin_test
