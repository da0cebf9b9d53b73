#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "strell/strell.h"
#include "support/bytes.h"
#include "support/temporary_folder.h"

/// @file
/// Media files by the encoders of this machine, what independent programs say about them, and how they sound. A missing
/// program fails the test that needs it.

namespace quorin_test {

/// Words of a command line.
using Options = std::vector<std::string>;
Options operator+(Options front, const Options& back);

/// What a program prints that must succeed.
std::string outputOf(const Options& command);

/// Everything that a test writes; one folder for the whole program.
const TemporaryFolder& encodedFolder();

/// A path in it that no other file of the program has.
std::string freshPath(const std::string& ending);

/// Writes a file of its own there and returns its path.
std::string writtenFile(const std::string& ending, const Bytes& bytes);

Bytes readFile(const std::string& path);

// ---- encoders: each writes a file, the same at every run, and returns its path ----

/// By `sox`: sound as its `synth` makes it, three seconds when not told otherwise; 16 bits per sample.
std::string wave(unsigned rate = 44100, unsigned channels = 2, const Options& sound = {"3", "sine", "300-3000"});

/// By `sox`, with these output options.
std::string sox(const std::string& input, const Options& options, const std::string& ending);

/// By `flac`, with these options.
std::string flac(const std::string& input, const Options& options = {});

/// By `ffmpeg`, with these output options.
std::string ffmpeg(const std::string& input, const Options& options, const std::string& ending);

/// A PNG of noise, `side` pixels wide and high, of a little less than 2 bytes per pixel.
std::string noisyPng(unsigned side);

// ---- judges: the first line of what each says ----

/// One property of the first audio stream, or of its first packet, by `ffprobe`.
std::string probed(const std::string& path, const std::string& entry);

/// One property of the audio by `mediainfo`, such as "SamplingRate".
std::string mediainfo(const std::string& path, const std::string& property);

std::string metaflac(const std::string& path, const std::string& option);

// ---- playing ----

/// An opened item, as an analysis leaves it.
using OpenItem = boost::shared_ptr<zu::md::common::strell::Strell>;

/// Everything that a player gets from where `item` stands, at most `most` bytes. That nothing is open fails the test.
/// @param icy receives the metadata met on the way; may be null
Bytes playedFrom(const OpenItem& item, size_t most = SIZE_MAX,
                 std::vector<zu::md::common::strell::IcyData>* icy = nullptr);

/// The samples that ffmpeg decodes; neither it nor, for FLAC, `flac` must complain.
std::string decodedSamples(const std::string& path);

/// The samples that mpg123 decodes, without any correction of encoder delays; empty when it complains.
std::string decodedMp3(const Bytes& mp3);

/// What a player gets decodes without complaint to the samples of the whole file.
void expectSoundPlaying(const OpenItem& item, const std::string& path);

}  // namespace quorin_test
