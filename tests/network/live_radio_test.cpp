// Internet radio from Icecast, through the whole chain and on into the sound.

#include <gmock/gmock.h>

#include <algorithm>

#include "driver/analysis.h"
#include "support/encoded_mp3.h"
#include "support/icecast.h"
#include "unmistakable_adts.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;
using testing::HasSubstr;

constexpr size_t played = 40000;

/// Short, so that all that a listener may meet first stands in few bytes.
const Sound shortSound = {48000, 2, 1};

/// MPEG frames of 384 bytes each, none of which needs another to be decoded.
Bytes mp3Frames() { return EncodedMp3::byLame({"-t", "--nores", "-b", "128"}, shortSound).bytes(); }

/// A station that begins inside of a frame, so that its listeners do.
Bytes fromInsideAFrame(const Bytes& audio) {
  constexpr long long inside = 100;
  return concat({slice(audio, inside, audio.size()), slice(audio, 0, inside)});
}

/// Whether a station that plays `audio` over and over can have sent `part`.
bool isPartOfTheLoop(const Bytes& audio, const Bytes& part) {
  const Bytes loop = repeat(audio, part.size() / audio.size() + 2);
  return std::search(loop.begin(), loop.end(), part.begin(), part.end()) != loop.end();
}

/// All whole ADTS frames that stand at the front of `bytes`.
Bytes wholeAdtsFrames(const Bytes& bytes) {
  size_t end = 0;
  while (end + 7 <= bytes.size() && bytes[end] == 0xff && (bytes[end + 1] & 0xf0U) == 0xf0) {
    const size_t length =
        static_cast<size_t>((bytes[end + 3] & 0x03) << 11 | bytes[end + 4] << 3 | bytes[end + 5] >> 5);
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
  const Icecast station(fromInsideAFrame(audio));
  const Analysis analysis(station.url());
  EXPECT_EQ(analysis.answer, liveAnswer(analysis, "audio/mpeg\nsampling_frequency 48000\nbitrate 128000\n",
                                        "frame_size 384\nmedia_type 0\n"));
  ASSERT_TRUE(analysis.result->strell);
  long long position = -1;
  EXPECT_EQ(analysis.result->strell->tell(position), 0);
  EXPECT_EQ(position, analysis.number("data_start"));
  EXPECT_GT(position, 0);
  EXPECT_LT(position, 384);
  const Bytes sound = playedFrom(analysis.result->strell, played);
  EXPECT_TRUE(isPartOfTheLoop(audio, sound));
  EXPECT_EQ(sound.front(), 0xff);
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
  playedFrom(analysis.result->strell, played, &icy);
  EXPECT_THAT(titlesOf(icy), HasSubstr("StreamTitle='First';"));
  for (const strell::IcyData& block : icy) {
    EXPECT_EQ(block.offset % Icecast::metadataInterval, 0);
  }
  station.setTitle("Second");
  std::string titles;
  for (int pieces = 0; pieces < 20 && titles.find("StreamTitle='Second';") == std::string::npos; ++pieces) {
    playedFrom(analysis.result->strell, played, &icy);
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

std::ostream& operator<<(std::ostream& out, const Said& said) { return out << said.name; }

class LiveAdts : public testing::TestWithParam<Said> {};

TEST_P(LiveAdts, PlaysOnFromAWholeFrameAndTellsTheBitrateOfTheHeader) {
  const Bytes audio = readFile(unmistakableAdts());
  const Icecast station(fromInsideAFrame(audio), "audio/aac", GetParam().bitrate);
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
  ASSERT_TRUE(analysis.result->strell);
  long long position = -1;
  EXPECT_EQ(analysis.result->strell->tell(position), 0);
  EXPECT_EQ(position, analysis.number("data_start"));
  const Bytes sound = playedFrom(analysis.result->strell, played);
  EXPECT_TRUE(isPartOfTheLoop(audio, sound));
  const Bytes frames = wholeAdtsFrames(sound);
  EXPECT_GT(frames.size(), played - 2048);
  EXPECT_FALSE(decodedSamples(writtenFile(".aac", frames)).empty());
}

INSTANTIATE_TEST_SUITE_P(LiveRadio, LiveAdts,
                         testing::Values(Said{"Unsaid", Icecast::UNSAID, "", 0},
                                         Said{"Once", Icecast::SAID_ONCE, "bitrate 128000\n", 1},
                                         Said{"Twice", Icecast::SAID_TWICE, "bitrate 128000\n", 2}),
                         [](const auto& said) { return std::string(said.param.name); });

}  // namespace
}  // namespace zu::md::common::quorin
