#pragma once

#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/temporary_folder.h"

/// @file
/// MP3 files by the encoders of this machine, and what independent programs say about them. A missing encoder fails
/// the test that needs it.

namespace quorin_test {

/// Sound to be encoded: chords that change, so that a variable bitrate varies; 16 bit, little-endian.
struct Sound {
  unsigned rate = 44100;  ///< Hz
  unsigned channels = 2;
  unsigned seconds = 6;
};

/// One encoded file.
class EncodedMp3 {
 public:
  /// By `lame`, with these options.
  static EncodedMp3 byLame(const std::vector<std::string>& options, const Sound& sound = Sound());

  /// By `ffmpeg`, with these output options. `cover` is the path of a picture to be attached, or empty.
  static EncodedMp3 byFfmpeg(const std::vector<std::string>& options, const Sound& sound = Sound(),
                             const std::string& cover = std::string());

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
  std::string probe(const std::vector<std::string>& options) const;

  std::string path_;
  Bytes bytes_;
};

/// Everything that a test writes; one folder for the whole program.
const TemporaryFolder& encodedFolder();

Bytes readFile(const std::string& path);

/// The samples that mpg123 decodes, without any correction of encoder delays; empty when it complains.
std::string decoded(const Bytes& mp3);

}  // namespace quorin_test
