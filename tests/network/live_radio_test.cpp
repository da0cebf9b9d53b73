// Internet radio from Icecast, through the whole chain and on into the sound.

#include <gmock/gmock.h>

#include <algorithm>

#include "driver/analysis.h"
#include "support/encoded_mp3.h"
#include "support/icecast.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;
using testing::HasSubstr;

constexpr size_t played = 40000;

/// Short, so that all that a listener may meet first stands in few bytes.
const Sound shortSound = {48000, 2, 1};

/// MPEG frames of 384 bytes each, none of which needs another to be decoded.
Bytes mp3Frames() { return EncodedMp3::byLame({"-t", "--nores", "-b", "128"}, shortSound).bytes(); }

/// Whether two MPEG frame headers stand in `bytes` in the distance of their frame size.
bool couldBeMpeg(const Bytes& bytes) {
  for (size_t at = 0; at + 4 <= bytes.size(); ++at) {
    int bitrate = 0;
    int rate = 0;
    int size = 0;
    unsigned samples = 0;
    unsigned offset = 0;
    if (Analyzer::checkFrameHeader(&bytes[at], bitrate, rate, samples, size, offset) == 1) {
      const Bytes next = slice(bytes, static_cast<long long>(at) + size, 2);
      if (next.size() == 2 && next[0] == 0xff && next[1] >= 0xe0) {
        return true;
      }
    }
  }
  return false;
}

/// Of the first tone whose frames the analyzer of MPEG audio, which is asked first, cannot take for its own, wherever
/// a listener comes in.
Bytes adtsFrames() {
  for (int pitch = 220; pitch < 250; ++pitch) {
    const std::string sound = wave(48000, 2, {"0.5", "sawtooth", std::to_string(pitch)});
    const Bytes frames = readFile(ffmpeg(sound, {"-c:a", "aac", "-b:a", "64k", "-f", "adts"}, ".aac"));
    if (!couldBeMpeg(repeat(frames, 2))) {
      return frames;
    }
  }
  ADD_FAILURE() << "no such tone";
  return Bytes();
}

/// Whether a station that plays `audio` over and over can have sent `part`.
bool isPartOfTheLoop(const Bytes& audio, const Bytes& part) {
  const Bytes loop = repeat(audio, part.size() / audio.size() + 2);
  return std::search(loop.begin(), loop.end(), part.begin(), part.end()) != loop.end();
}

/// All whole ADTS frames of `bytes`, which begin with one.
Bytes wholeAdtsFrames(const Bytes& bytes) {
  size_t end = 0;
  while (end + 7 <= bytes.size()) {
    const size_t length = (bytes[end + 3] & 0x03U) << 11 | bytes[end + 4] << 3U | bytes[end + 5] >> 5U;
    if (length == 0 || end + length > bytes.size()) {
      break;
    }
    end += length;
  }
  return head(bytes, end);
}

std::string titlesOf(const std::vector<strell::IcyData>& icy) {
  std::string titles;
  for (const strell::IcyData& block : icy) {
    titles += block.text + '\n';
  }
  return titles;
}

/// The place of the first frame in what came, which is where playing begins, and what a live item cannot do.
std::string liveAnswer(const Analysis& analysis, const std::string& head, const std::string& tail) {
  const std::string start = analysis.value("data_start");
  return head + "data_start " + start + "\ntime_calc_start " + start + '\n' + tail + "can\n";
}

TEST(LiveRadio, Mp3PlaysOnFromAWholeFrame) {
  const Bytes audio = mp3Frames();
  ASSERT_EQ(audio.size() % 384, 0U);
  const Icecast station(audio);
  const Analysis analysis(station.url());
  EXPECT_EQ(analysis.answer, liveAnswer(analysis, "audio/mpeg\nsampling_frequency 48000\nbitrate 128000\n",
                                        "frame_size 384\nmedia_type 0\n"));
  long long position = -1;
  EXPECT_EQ(analysis.result->strell->tell(position), 0);
  EXPECT_EQ(position, analysis.number("data_start"));
  EXPECT_LT(position, 2 * 384);
  const Bytes sound = playedFrom(*analysis.result->strell, played);
  EXPECT_TRUE(isPartOfTheLoop(audio, sound));
  EXPECT_GE(decodedMp3(head(sound, sound.size() / 384 * 384)).size(), played / 384 * 1152 * 4);
}

TEST(LiveRadio, Mp3TellsItsOwnBitrateNotThatOfTheHeader) {
  const Icecast station(EncodedMp3::byLame({"-t", "--nores", "-b", "96"}, shortSound).bytes());
  const Analysis analysis(station.url());
  EXPECT_EQ(analysis.value("bitrate"), "96000");
  EXPECT_THAT(analysis.log, Not(HasSubstr("found icy-br")));
}

TEST(LiveRadio, TitlesComeWhileItPlays) {
  const Icecast station(mp3Frames());
  station.setTitle("First");
  const Analysis analysis(station.url());
  std::vector<strell::IcyData> icy;
  playedFrom(*analysis.result->strell, played, &icy);
  EXPECT_THAT(titlesOf(icy), HasSubstr("StreamTitle='First';"));
  for (const strell::IcyData& block : icy) {
    EXPECT_EQ(block.offset % Icecast::metadataInterval, 0);
  }
  station.setTitle("Second");
  std::string titles;
  for (int pieces = 0; pieces < 20 && titles.find("StreamTitle='Second';") == std::string::npos; ++pieces) {
    playedFrom(*analysis.result->strell, played, &icy);
    titles += titlesOf(icy);
  }
  EXPECT_THAT(titles, HasSubstr("StreamTitle='Second';"));
}

struct Said {
  const char* name;
  Icecast::Bitrate bitrate;
  const char* answered;
  int lines;
};

class LiveAdts : public testing::TestWithParam<Said> {};

TEST_P(LiveAdts, PlaysOnFromAWholeFrameAndTellsTheBitrateOfTheHeader) {
  const Bytes audio = adtsFrames();
  const Icecast station(audio, "audio/aac", GetParam().bitrate);
  const Analysis analysis(station.url());
  EXPECT_EQ(analysis.answer,
            liveAnswer(analysis, std::string("audio/aacp\nsampling_frequency 48000\n") + GetParam().answered,
                       "frame_size " + analysis.value("frame_size") + "\nmedia_type 7\n"));
  int found = 0;
  const std::string line = "4000 analyzer_audio_adts:#:determineBitrate(): found icy-br = 128.\n";
  for (size_t at = analysis.log.find(line); at != std::string::npos; at = analysis.log.find(line, at + 1)) {
    ++found;
  }
  EXPECT_EQ(found, GetParam().lines);
  long long position = -1;
  EXPECT_EQ(analysis.result->strell->tell(position), 0);
  EXPECT_EQ(position, analysis.number("data_start"));
  const Bytes sound = playedFrom(*analysis.result->strell, played);
  EXPECT_TRUE(isPartOfTheLoop(audio, sound));
  const Bytes frames = wholeAdtsFrames(sound);
  EXPECT_GT(frames.size(), played / 2);
  EXPECT_FALSE(decodedSamples(writtenFile(".aac", frames)).empty());
}

INSTANTIATE_TEST_SUITE_P(LiveRadio, LiveAdts,
                         testing::Values(Said{"Unsaid", Icecast::UNSAID, "", 0},
                                         Said{"Once", Icecast::SAID_ONCE, "bitrate 128000\n", 1},
                                         Said{"Twice", Icecast::SAID_TWICE, "bitrate 128000\n", 2}),
                         [](const auto& said) { return std::string(said.param.name); });

}  // namespace
}  // namespace zu::md::common::quorin
