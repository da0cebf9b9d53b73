// Every fault at every place: an analysis of a damaged or failing source ends, answers within the stream, and answers
// the same every time.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "analysis.h"
#include "framework/status.h"
#include "quorin/audio_info.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

struct Sample {
  const char* name;
  Bytes bytes;
};

Bytes tagged(unsigned char major, size_t cover) {
  Id3v2Tag tag;
  tag.major = major;
  const Bytes title = id3v2Frame(major, major < 3 ? "TT2" : "TIT2", {0, 'a', 'b', 'c'});
  return tag.around(concat({title, id3v2Picture(major, noise(cover)), title, filler(500)}));
}

Bytes withEnd(const Bytes& begin) { return concat({begin, mpegFrames(60), id3v1Tag()}); }

const std::vector<Sample>& samples() {
  const Bytes lame = infoFrame(concat({XingHeader{"Info", 0xf, 5000, 2000000}.bytes(), lameExtension(1, 128)}));
  static const std::vector<Sample> all = {
      {"plain", withEnd({})},
      {"xing", withEnd(lame)},
      {"vbri", withEnd(infoFrame(vbriHeader(2000000, 5000), vbriOffset))},
      {"version 2 tag", withEnd(concat({tagged(2, 3000), lame}))},
      {"version 3 tag", withEnd(concat({tagged(3, 3000), lame}))},
      {"tag beyond the head", withEnd(concat({tagged(4, 100000), lame}))},
      {"frames late", withEnd(noise(2500))},
      {"short", mpegFrames(5)},
      {"no audio", noise(12000)},
  };
  return all;
}

struct Outcome {
  Analysis analysis;
  SourceCalls calls;
};

Outcome analyze(const SourceScript& script) {
  const auto source = boost::make_shared<ScriptedSource>(script);
  const ScriptedScheme scheme("fault", [source](const std::string&) { return ScriptedScheme::Answer{0, source}; });
  return {Analysis("fault:item"), source->calls};
}

/// Twice the same, and nothing said about bytes that are not there.
Outcome expectSoundOutcome(const SourceScript& script) {
  const Outcome first = analyze(script);
  const Outcome second = analyze(script);
  EXPECT_EQ(first.analysis.status, second.analysis.status);
  EXPECT_EQ(first.analysis.answer, second.analysis.answer);
  EXPECT_EQ(first.analysis.log, second.analysis.log);
  EXPECT_TRUE(first.analysis.result->info);
  EXPECT_TRUE(first.analysis.result->strell);
  const auto audio = boost::dynamic_pointer_cast<AudioInfo>(first.analysis.result->info);
  EXPECT_EQ(first.analysis.status, audio ? 0 : STATUS_NOT_THIS_FORMAT);
  if (audio) {
    const auto size = static_cast<long long>(script.bytes.size());
    EXPECT_LT(first.analysis.number("data_start"), size);
    EXPECT_TRUE(first.analysis.value("data_end").empty() || first.analysis.number("data_end") < size);
    const Bytes sync = {script.bytes[static_cast<size_t>(first.analysis.number("data_start"))]};
    EXPECT_EQ(sync, Bytes{0xff});
  }
  return first;
}

class Mp3Faults : public testing::TestWithParam<size_t> {
 protected:
  Mp3Faults() { script.bytes = samples()[GetParam()].bytes; }

  SourceScript script;
};

TEST_P(Mp3Faults, AtEveryRead) {
  const int reads = analyze(script).calls.reads;
  for (int nth = 1; nth <= reads; ++nth) {
    for (const unsigned delivered : {0U, 1U, 700U}) {
      SCOPED_TRACE(nth);
      script.readFaults = {{nth, -5}};
      script.readFaultBytes = {{nth, delivered}};
      expectSoundOutcome(script);
    }
  }
}

TEST_P(Mp3Faults, AtEverySeek) {
  const int seeks = analyze(script).calls.seeks;
  for (int nth = 1; nth <= seeks; ++nth) {
    SCOPED_TRACE(nth);
    script.seekFaults = {{nth, -5}};
    expectSoundOutcome(script);
  }
}

TEST_P(Mp3Faults, FromEveryOffsetOn) {
  for (size_t offset = 0; offset < script.bytes.size(); offset += offset < 600 ? 1 : 997) {
    SCOPED_TRACE(offset);
    script.failingOffset = static_cast<long long>(offset);
    expectSoundOutcome(script);
  }
}

TEST_P(Mp3Faults, OfTheSourcesPropertiesLeaveTheAudioRecognised) {
  const bool isAudio = analyze(script).analysis.status == 0;
  const bool needsSeeking = script.bytes.size() > 65536;
  SourceScript withoutSize = script;
  withoutSize.sizeFault = -5;
  EXPECT_EQ(expectSoundOutcome(withoutSize).analysis.status == 0, isAudio && !needsSeeking);
  SourceScript withoutSeekable = script;
  withoutSeekable.seekableFault = -5;
  EXPECT_EQ(expectSoundOutcome(withoutSeekable).analysis.status == 0, isAudio);
  SourceScript withoutTell = script;
  withoutTell.tellFault = -5;
  EXPECT_EQ(expectSoundOutcome(withoutTell).analysis.answer, analyze(script).analysis.answer);
}

TEST_P(Mp3Faults, ShortReadsChangeNothing) {
  const Outcome whole = analyze(script);
  for (const unsigned most : {1U, 7U, 1000U, 5000U}) {
    script.maxRead = most;
    const Outcome pieces = expectSoundOutcome(script);
    EXPECT_EQ(pieces.analysis.answer, whole.analysis.answer);
    EXPECT_EQ(pieces.analysis.log, whole.analysis.log);
    EXPECT_LE(pieces.calls.bytes, whole.calls.bytes);
  }
}

TEST_P(Mp3Faults, WithoutSeekingTheAudioIsTheSame) {
  const Outcome seekable = analyze(script);
  script.seekable = false;
  const Outcome sequential = expectSoundOutcome(script);
  EXPECT_EQ(sequential.analysis.status, seekable.analysis.status);
  for (const char* const property : {"data_start", "bitrate", "duration", "sampling_frequency", "frame_size"}) {
    EXPECT_EQ(sequential.analysis.value(property), seekable.analysis.value(property));
  }
  EXPECT_EQ(sequential.analysis.value("data_end"), "");
  EXPECT_EQ(sequential.calls.seeks, 0);
}

TEST_P(Mp3Faults, TruncatedAtEveryLength) {
  const Bytes whole = script.bytes;
  for (size_t length = 0; length < whole.size(); length += length < 4096 ? 1 : 997) {
    SCOPED_TRACE(length);
    script.bytes = head(whole, length);
    expectSoundOutcome(script);
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, Mp3Faults, testing::Range<size_t>(0, samples().size()),
                         [](const testing::TestParamInfo<size_t>& sample) {
                           std::string name = samples()[sample.param].name;
                           for (char& c : name) {
                             c = c == ' ' ? '_' : c;
                           }
                           return name;
                         });

}  // namespace
}  // namespace zu::md::common::quorin
