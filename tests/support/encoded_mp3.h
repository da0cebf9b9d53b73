#pragma once

#include <string>
#include <vector>

#include "support/encoders.h"

namespace quorin_test {

/// Sound to be encoded: chords that change, so that a variable bitrate varies; 16 bit, little-endian.
struct Sound {
  unsigned rate = 44100;  ///< Hz
  unsigned channels = 2;
  unsigned seconds = 6;
};

/// One MP3 file by an encoder of this machine.
class EncodedMp3 {
 public:
  /// By `lame`, with these options.
  static EncodedMp3 byLame(const Options& options, const Sound& sound = Sound());

  /// By `ffmpeg`, with these output options and the pictures with these paths.
  static EncodedMp3 byFfmpeg(const Options& options, const Sound& sound = Sound(), const Options& covers = {});

  const std::string& path() const { return path_; }
  const Bytes& bytes() const { return bytes_; }

  /// Place of the first audio packet, as ffprobe sees it.
  long long audioStart() const;
  /// Of the audio stream by ffprobe, in seconds; in Hz; in bit/s.
  double duration() const;
  int sampleRate() const;
  int bitrate() const;

 private:
  EncodedMp3(std::string path, Bytes bytes) : path_(std::move(path)), bytes_(std::move(bytes)) {}

  std::string path_;
  Bytes bytes_;
};

}  // namespace quorin_test
