// Whole analyses of what hostile servers deliver: the answer, when it comes, and with how much memory. The codes of the
// source are in tests/platform/hostile_server_test.cpp.

#include <gtest/gtest.h>

#include <chrono>

#include "framework/status.h"
#include "quorin/analyzer.h"
#include "quorin/mime_types.h"
#include "support/answer_text.h"
#include "support/bytes.h"
#include "support/hostile_script.h"
#include "support/icy_stream.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"
#include "support/process_resources.h"
#include "support/range_answers.h"
#include "support/run_command.h"
#include "support/temporary_folder.h"
#include "support/time_limit.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// The cache of a live stream takes 1 MiB and doubles while it grows; what comes without end would take more at once.
constexpr size_t mostMemory = size_t{8} * 1024 * 1024;

struct Outcome {
  int status = 0;
  boost::shared_ptr<AnalyzeResult> result;
  Clock::duration took{};

  std::string text() const { return answerText(*result); }
};

/// What the first request of a process takes and none later: libcurl, TLS and their tables.
void loadLibraries() {
  boost::shared_ptr<MdchUrlBase> none;
  static const int loaded = mdch_OpenUrl("http://127.0.0.1:1/", 0, MdchOpenParams(), none);
  ASSERT_EQ(loaded, 151);
}

/// An analysis that must take little memory.
Outcome analyze(const std::string& url, const std::string& limits = "connect=60;stall=60") {
  loadLibraries();
  strell::OpenParams params;
  params.uri = url;
  params.options[4] = limits;
  Outcome outcome;
  const PeakMemory memory;
  const Clock::time_point start = Clock::now();
  outcome.status = Analyzer(Analyzer::MODE_AUDIO).analyze(params, outcome.result);
  outcome.took = Clock::now() - start;
  EXPECT_LT(memory.growth(), mostMemory);
  return outcome;
}

// ---- harm at each stage ----

/// Its first frame lies behind what the first answer brings.
const std::string& taggedItem() {
  static const std::string item =
      textOf(concat({Id3v2Tag().around(id3v2Frame(3, "COMM", noise(50000))), mpegFrames(300)}));
  return item;
}

class HostileAnalysis : public testing::TestWithParam<HostileStage> {
 protected:
  static Outcome meet(const Harm& harm, const std::string& limits) {
    const RawServer server(harming(GetParam(), taggedItem(), harm));
    return analyze(server.url(), limits);
  }

  static void expectNothingRecognised(const Outcome& outcome) {
    EXPECT_EQ(outcome.status, GetParam().opens() ? STATUS_NOT_THIS_FORMAT : STATUS_OPEN_FAILED);
    EXPECT_EQ(outcome.text(), GetParam().opens() ? MimeTypes::ApplicationUnknown : "none");
  }
};

TEST(HostileItem, WithoutHarmIsRecognised) {
  const RawServer server([](RawConnection& connection, const std::string& request, int) {
    return connection.send(part(request, taggedItem()));
  });
  EXPECT_EQ(analyze(server.url()).text(), MimeTypes::AudioMpeg);
  EXPECT_GE(server.requests().size(), 2U) << "else there is no later range";
}

TEST_P(HostileAnalysis, OfAServerThatFallsSilentEndsByTheStallLimit) {
  const Outcome outcome = meet([](RawConnection& connection) { connection.hold(); }, "connect=60;stall=0.3");
  expectNothingRecognised(outcome);
  expectAtLimit(outcome.took, milliseconds(300));
}

TEST_P(HostileAnalysis, OfAServerThatTricklesEndsByTheTotalLimit) {
  const char* const endless[] = {"HTTP/1.1 103 Early Hints\r\n\r\n", "X: 1\r\n", "some bytes"};
  const std::string drops = endless[GetParam().place];
  const Outcome outcome = meet(
      [drops](RawConnection& connection) {
        while (connection.trickle(drops, milliseconds(5))) {
        }
      },
      "connect=60;stall=60;total=1");
  expectNothingRecognised(outcome);
  expectAtLimit(outcome.took, milliseconds(1000));
}

TEST_P(HostileAnalysis, OfABrokenConnectionEndsAtOnce) {
  const Outcome outcome = meet([](RawConnection& connection) { connection.reset(); }, "connect=60;stall=60");
  expectNothingRecognised(outcome);
  EXPECT_LT(outcome.took, limitTolerance);
}

INSTANTIATE_TEST_SUITE_P(Stages, HostileAnalysis, testing::ValuesIn(hostileStages()),
                         [](const testing::TestParamInfo<HostileStage>& stage) { return stage.param.name; });

TEST(HostileItem, ThatBecomesAnotherBetweenTwoRangesIsNotRecognised) {
  const RawServer server([&](RawConnection& connection, const std::string& request, int number) {
    return connection.send(number == 0 ? part(request, taggedItem(), "ETag: \"1\"\r\n")
                                       : part(request, taggedItem(), "ETag: \"2\"\r\n"));
  });
  const Outcome outcome = analyze(server.url());
  EXPECT_EQ(outcome.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(outcome.text(), MimeTypes::ApplicationUnknown);
}

// ---- without end ----

/// Sends `header` and then the same over and over.
RawServer::Script flooding(const std::string& beginning, const std::string& piece) {
  return [=](RawConnection& connection, const std::string&, int) {
    bool open = connection.send(beginning);
    while (open) {
      open = connection.send(piece);
    }
    return false;
  };
}

TEST(HostileFlood, OfHeaderLinesOpensNothing) {
  for (const char* piece : {"HTTP/1.1 100 Continue\r\n\r\n", "HTTP/1.1 200 OK\r\nX-More: and more\r\n"}) {
    const RawServer server(flooding("", piece));
    const Outcome outcome = analyze(server.url());
    EXPECT_EQ(outcome.status, STATUS_OPEN_FAILED);
    EXPECT_LT(outcome.took, limitTolerance);
  }
}

TEST(HostileFlood, OfBytesThatAreNothingEndsByItself) {
  const RawServer server(flooding("HTTP/1.1 200 OK\r\n\r\n", textOf(noise(65536))));
  const Outcome outcome = analyze(server.url());
  EXPECT_EQ(outcome.text(), MimeTypes::ApplicationUnknown);
  EXPECT_LT(outcome.result->strell->cost().bytes, size_t{1024} * 1024);
  EXPECT_LT(outcome.took, limitTolerance);
}

/// The largest block of metadata behind each byte of audio.
std::string drowned(const Bytes& audio) {
  return textOf(icyStream(audio, 1, std::vector<std::string>(audio.size(), std::string(4080, 'y'))));
}

const std::string liveHeader = "ICY 200 OK\r\nicy-metaint: 1\r\n\r\n";

TEST(HostileFlood, OfMetadataEndsByItself) {
  const RawServer server(flooding(liveHeader, drowned(noise(64))));
  const Outcome outcome = analyze(server.url());
  EXPECT_EQ(outcome.text(), MimeTypes::ApplicationUnknown);
  EXPECT_LT(outcome.took, limitTolerance);
}

TEST(HostileFlood, OfMetadataInFrontOfWhatIsSteppedOverEndsByTheTotalLimit) {
  // A tag of which every byte has to be read: one megabyte of audio, four gigabytes of metadata.
  const Bytes tag = head(Id3v2Tag().around(filler(1000000)), 10);
  const RawServer server(flooding(liveHeader + drowned(tag), drowned(noise(64))));
  const Outcome outcome = analyze(server.url(), "connect=60;stall=60;total=1");
  EXPECT_EQ(outcome.text(), MimeTypes::ApplicationUnknown);
  expectAtLimit(outcome.took, milliseconds(1000));
}

// ---- bodies that are compressed although nobody asked for that ----

Bytes compressed(const Bytes& bytes) {
  const TemporaryFolder folder;
  const std::string path = folder.write("item", bytes);
  const CommandRun run = runCommand({"gzip", "-9", "-c", path});
  EXPECT_TRUE(run.ok()) << run.errors;
  return Bytes(run.output.begin(), run.output.end());
}

TEST(HostileCompression, IsNotUndone) {
  const Bytes item = mpegFrames(100);
  for (const bool chunks : {false, true}) {
    const std::string body = textOf(compressed(item));
    char size[16];
    std::snprintf(size, sizeof size, "%zx\r\n", body.size());
    const RawServer server("HTTP/1.1 200 OK\r\nContent-Type: audio/mpeg\r\nContent-Encoding: gzip\r\n" +
                           (chunks ? "Transfer-Encoding: chunked\r\n\r\n" + (size + body) + "\r\n0\r\n\r\n"
                                   : "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body));
    const Outcome outcome = analyze(server.url());
    EXPECT_EQ(outcome.text(), MimeTypes::ApplicationUnknown) << "compressed, its frames are none";
    EXPECT_EQ(outcome.result->strell->cost().bytes, body.size());
  }
}

TEST(HostileCompression, OfVeryMuchTakesNoMemory) {
  const std::string body = textOf(compressed(filler(size_t{64} * 1024 * 1024)));
  for (const auto& [line, status] : {std::pair("Content-Encoding: gzip", STATUS_NOT_THIS_FORMAT),
                                     std::pair("Content-Encoding: gzip, br", STATUS_NOT_THIS_FORMAT),
                                     std::pair("Transfer-Encoding: gzip", STATUS_OPEN_FAILED)}) {
    const RawServer server("HTTP/1.1 200 OK\r\n" + std::string(line) + "\r\n\r\n" + body);
    const Outcome outcome = analyze(server.url());
    EXPECT_EQ(outcome.status, status) << line;
    EXPECT_LT(outcome.took, limitTolerance) << line;
  }
}

// ---- redirects to odd places ----

Outcome redirected(const std::string& target) {
  return analyze(RawServer("HTTP/1.1 302 Found\r\nLocation: " + target + "\r\nContent-Length: 0\r\n\r\n").url());
}

TEST(HostileRedirect, ToAnySchemeIsHandedOutAndNotFollowed) {
  for (const char* target : {"file:///etc/passwd", "vdr2://CARD/song.mp3", "gopher://127.0.0.1/1",
                             "javascript:alert(1)", "data:audio/mpeg;base64,SUQz", "ftp://127.0.0.1/",
                             "dict://127.0.0.1/d:x", "/etc/passwd", "//127.0.0.1/", "http:", "http://", "%", "-"}) {
    const Outcome outcome = redirected(target);
    EXPECT_EQ(outcome.status, STATUS_OK) << target;
    EXPECT_EQ(outcome.text(), std::string("application/redirect ") + target + " []");
    EXPECT_FALSE(outcome.result->strell) << target;
  }
}

TEST(HostileRedirect, ToNowhereIsAnError) {
  for (const char* target : {"", " ", "\t", ":"}) {
    const Outcome outcome = redirected(target);
    EXPECT_EQ(outcome.status, STATUS_REDIRECT) << target;
    EXPECT_EQ(outcome.text(), "none");
  }
}

TEST(HostileRedirect, ToMoreThanAHeaderMayHoldOpensNothing) {
  const std::string fits = "http://127.0.0.1/" + std::string(60000, 'x');
  EXPECT_EQ(redirected(fits).text(), "application/redirect " + fits + " []");
  const Outcome outcome = redirected("http://127.0.0.1/" + std::string(size_t{1024} * 1024, 'x'));
  EXPECT_EQ(outcome.status, STATUS_OPEN_FAILED);
  EXPECT_EQ(outcome.text(), "none");
}

TEST(HostileRedirect, WithControlCharactersIsRepairedWhereItIsAUrl) {
  EXPECT_EQ(redirected("http://127.0.0.1/a\x01\x1b[31mb\x7f").text(),
            "application/redirect http://127.0.0.1/a%01%1B%5B31mb%7F []");
  EXPECT_EQ(redirected("file:///a\x01\x7f").text(), "application/redirect file:///a\x01\x7f []");
  EXPECT_EQ(redirected("http://127.0.0.1/a\rb").text(), "application/redirect http://127.0.0.1/a%0Db []");
}

TEST(HostileRedirect, WithAZeroByteOpensNothing) {
  EXPECT_EQ(redirected(std::string("http://127.0.0.1/a\0b", 19)).status, STATUS_OPEN_FAILED);
}

}  // namespace
}  // namespace zu::md::common::quorin
