// Servers that mean harm, at each stage of an answer: what opening and reading come to, when, and with how much memory.
// What a server does by mistake is in http_fault_test.cpp; whole analyses are in
// tests/network/hostile_network_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "http_client.h"
#include "support/bytes.h"
#include "support/hostile_script.h"
#include "support/process_resources.h"
#include "support/range_answers.h"
#include "support/raw_server.h"
#include "support/time_limit.h"
#include "url/openers.h"

namespace quorin_test {
namespace {

using namespace md::host;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// What the floods of these tests would exceed at once if anything kept them: they bring as much within milliseconds.
constexpr size_t mostMemoryOfAFlood = size_t{8} * 1024 * 1024;
/// Of all other servers: an answer, the buffers of libcurl, and as much again for the server, which is part of this
/// process. Less than any size that is a lie.
constexpr size_t mostMemoryOfAnAnswer = size_t{1024} * 1024;
constexpr size_t laterOffset = 50000;

const std::string whole = "HTTP/1.1 200 OK\r\n";
const std::string chunked = "Transfer-Encoding: chunked\r\n\r\n";

const std::string& longItem() {
  static const std::string item = textOf(testBytes(100000));
  return item;
}

HttpTexts withLimits(const std::string& limits) {
  HttpTexts texts;
  texts.limits = limits;
  return texts;
}

/// What became of an item.
struct Outcome {
  int open = 0;
  int read = 0;  ///< the last read; 0 when opening failed
  std::string bytes;
  Clock::duration inCalls{};       ///< the opening or the reads, whichever failed
  Clock::duration sinceOpening{};  ///< all of it
};

/// What the first request of a process does and none later, lest it count for a limit: libcurl and TLS get ready.
void makeReady() {
  static const int code = openUrl("http://127.0.0.1:1/").code;
  EXPECT_EQ(code, OPEN_CONNECTION_REFUSED);
}

/// Opens an item, reads it to its end or to its first failure, with no more memory than that: from the start, or, with
/// `request` 1, from an offset that takes another request.
Outcome outcomeOf(const RawServer& server, const std::string& limits, int request = 0,
                  size_t mostMemory = mostMemoryOfAnAnswer) {
  makeReady();
  Outcome outcome;
  const PeakMemory memory;
  const Clock::time_point opening = Clock::now();
  const HttpOpened opened = openUrl(server.url(), withLimits(limits));
  outcome.open = opened.code;
  Clock::time_point start = opening;
  if (opened.code == 0) {
    start = Clock::now();
    const HttpRead read = request == 0 ? readOn(*opened.url) : readAt(*opened.url, laterOffset, longItem().size());
    outcome.read = read.status;
    outcome.bytes = textOf(read.bytes);
  }
  outcome.inCalls = Clock::now() - start;
  outcome.sinceOpening = Clock::now() - opening;
  EXPECT_LT(memory.growth(), mostMemory);
  return outcome;
}

// ---- what a server does at any stage ----

class HostileServer : public testing::TestWithParam<HostileStage> {
 protected:
  static Outcome meet(const Harm& harm, const std::string& limits) {
    const RawServer server(harming(GetParam(), longItem(), harm));
    return outcomeOf(server, limits, GetParam().request);
  }

  /// @param open, readHeader, readBody the codes, by stage
  static void expectCode(const Outcome& outcome, int open, int readHeader, int readBody) {
    const bool opens = GetParam().opens();
    EXPECT_EQ(outcome.open, opens ? 0 : open);
    EXPECT_EQ(outcome.read, !opens ? 0 : GetParam().place == WithinTheBody ? readBody : readHeader);
  }

  /// What the server sends of the item before the harm is handed out, and nothing else.
  static void expectWhatWasSent(const Outcome& outcome) {
    EXPECT_EQ(outcome.bytes, longItem().substr(offset(), GetParam().place == WithinTheBody ? sentOfTheBody : 0));
  }

  /// Where reading begins.
  static size_t offset() { return GetParam().request == 0 ? 0 : laterOffset; }
};

TEST_P(HostileServer, ThatFallsSilentIsLeftByTheStallLimit) {
  const Outcome outcome = meet([](RawConnection& connection) { connection.hold(); }, "connect=60;stall=0.3");
  expectCode(outcome, OPEN_TIMED_OUT, SOURCE_TIMED_OUT, SOURCE_TIMED_OUT);
  expectWhatWasSent(outcome);
  expectAtLimit(outcome.inCalls, milliseconds(300));
}

TEST_P(HostileServer, ThatFallsSilentIsLeftByTheTotalLimit) {
  const Outcome outcome = meet([](RawConnection& connection) { connection.hold(); }, "connect=60;stall=60;total=1");
  expectCode(outcome, OPEN_TIMED_OUT, SOURCE_TIMED_OUT, SOURCE_TIMED_OUT);
  expectWhatWasSent(outcome);
  expectAtLimit(outcome.sinceOpening, milliseconds(1000));
}

TEST_P(HostileServer, ThatTricklesIsLeftByTheTotalLimit) {
  const std::string moreOfTheItem = longItem().substr(offset() + sentOfTheBody, 10000);
  const std::string endless[] = {"HTTP/1.1 103 Early Hints\r\n\r\n", "X: 1\r\n", moreOfTheItem};
  const std::string drops = endless[GetParam().place];
  const Outcome outcome = meet(
      [drops](RawConnection& connection) {
        while (connection.trickle(drops, milliseconds(5))) {
        }
      },
      "connect=60;stall=60;total=1");
  expectCode(outcome, OPEN_TIMED_OUT, SOURCE_TIMED_OUT, SOURCE_TIMED_OUT);
  const size_t sent = GetParam().place == WithinTheBody ? std::max(sentOfTheBody + 1, outcome.bytes.size()) : 0;
  EXPECT_EQ(outcome.bytes, longItem().substr(offset(), sent)) << "and some of what trickled";
  expectAtLimit(outcome.sinceOpening, milliseconds(1000));
}

TEST_P(HostileServer, ThatBreaksTheConnectionIsLeftAtOnce) {
  const Outcome outcome = meet([](RawConnection& connection) { connection.reset(); }, "connect=60;stall=60");
  expectCode(outcome, OPEN_HTTP_CLIENT_ERROR, SOURCE_READ_FAILED, SOURCE_READ_FAILED);
  expectWhatWasSent(outcome);
  EXPECT_LT(outcome.sinceOpening, limitTolerance);
}

TEST_P(HostileServer, ThatClosesTheConnectionIsLeftAtOnce) {
  const Outcome outcome = meet([](RawConnection&) {}, "connect=60;stall=60");
  expectCode(outcome, OPEN_HTTP_CLIENT_ERROR, SOURCE_READ_FAILED, SOURCE_TRUNCATED);
  expectWhatWasSent(outcome);
  EXPECT_LT(outcome.sinceOpening, limitTolerance);
}

INSTANTIATE_TEST_SUITE_P(Stages, HostileServer, testing::ValuesIn(hostileStages()),
                         [](const testing::TestParamInfo<HostileStage>& stage) { return stage.param.name; });

// ---- headers without end ----

struct Flood {
  const char* name;
  std::string before;  ///< once
  std::string piece;   ///< without end
};

void PrintTo(const Flood& flood, std::ostream* out) { *out << flood.name; }

class HostileHeader : public testing::TestWithParam<Flood> {
 protected:
  static Outcome meet(int request) {
    const Flood flood = GetParam();
    const RawServer server([flood, request](RawConnection& connection, const std::string& text, int number) {
      if (number < request) {
        return connection.send(part(text, longItem()));
      }
      bool open = connection.send(flood.before);
      while (open) {
        open = connection.send(flood.piece);
      }
      return false;
    });
    const Outcome outcome = outcomeOf(server, "connect=60;stall=60", request, mostMemoryOfAFlood);
    EXPECT_LT(outcome.sinceOpening, limitTolerance);
    return outcome;
  }
};

const Flood headerFloods[] = {
    {"Lines", "HTTP/1.1 206 Partial Content\r\n", "X-More: and more and more\r\n"},
    {"OneLine", "HTTP/1.1 206 Partial Content\r\nX-Long: ", std::string(4096, 'x')},
    {"FoldedLines", "HTTP/1.1 206 Partial Content\r\nX-Long: x\r\n", " and more" + std::string(200, '.') + "\r\n"},
    {"StatusLine", "HTTP/1.1 206 ", std::string(4096, 'x')},
    {"InterimResponses", "", "HTTP/1.1 100 Continue\r\n\r\n"},
    {"InterimResponsesWithLines", "", "HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n"},
    {"NoHttpAtAll", "", std::string(4096, 'x')},
    {"Nothing", "", std::string(4096, '\0')},
    {"EmptyLines", "", "\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n"},
};

TEST_P(HostileHeader, WithoutEndOpensNothing) { EXPECT_EQ(meet(0).open, OPEN_HTTP_CLIENT_ERROR); }

TEST_P(HostileHeader, WithoutEndOfALaterRangeIsAFailure) {
  const Outcome outcome = meet(1);
  EXPECT_EQ(outcome.open, 0);
  EXPECT_EQ(outcome.read, SOURCE_READ_FAILED);
  EXPECT_EQ(outcome.bytes, "");
}

INSTANTIATE_TEST_SUITE_P(Floods, HostileHeader, testing::ValuesIn(headerFloods),
                         [](const testing::TestParamInfo<Flood>& flood) { return flood.param.name; });

// ---- bodies without end ----

class HostileBody : public testing::TestWithParam<Flood> {
 protected:
  /// Reads as long as it is let.
  static Outcome meet(const std::string& limits) {
    const Flood flood = GetParam();
    const RawServer server([flood](RawConnection& connection, const std::string&, int) {
      bool open = connection.send(whole + flood.before);
      while (open) {
        open = connection.send(flood.piece);
      }
      return false;
    });
    makeReady();
    const PeakMemory memory;
    Outcome outcome;
    const Clock::time_point opening = Clock::now();
    const auto source = openedUrl(server.url(), withLimits(limits));
    Bytes buffer(4096);
    unsigned int got = 1;
    while (outcome.read == 0 && got != 0) {
      outcome.read = source->read(buffer.data(), static_cast<unsigned int>(buffer.size()), got);
    }
    outcome.sinceOpening = Clock::now() - opening;
    EXPECT_LT(memory.growth(), mostMemoryOfAFlood);
    return outcome;
  }
};

const Flood bodyFloods[] = {
    {"Bytes", "\r\n", std::string(65536, 'x')},
    {"BytesOfAnAbsurdLength", "Content-Length: 9223372036854775807\r\n\r\n", std::string(65536, 'x')},
    {"Chunks", chunked, "4\r\nfour\r\n"},
    {"ChunkExtension", chunked + "4;x=", std::string(4096, 'x')},
};

TEST_P(HostileBody, WithoutEndIsLeftByTheTotalLimit) {
  const Outcome outcome = meet("connect=60;stall=60;total=1");
  EXPECT_EQ(outcome.read, SOURCE_TIMED_OUT);
  expectAtLimit(outcome.sinceOpening, milliseconds(1000));
}

INSTANTIATE_TEST_SUITE_P(Floods, HostileBody, testing::ValuesIn(bodyFloods),
                         [](const testing::TestParamInfo<Flood>& flood) { return flood.param.name; });

TEST(HostileTrailers, WithoutEndAreAFailure) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    bool open = connection.send(whole + chunked + "4\r\nbody\r\n0\r\n");
    while (open) {
      open = connection.send("X-More: and more and more\r\n");
    }
    return false;
  });
  const Outcome outcome = outcomeOf(server, "connect=60;stall=60", 0, mostMemoryOfAFlood);
  EXPECT_EQ(outcome.bytes, "body");
  EXPECT_EQ(outcome.read, SOURCE_READ_FAILED);
  EXPECT_LT(outcome.sinceOpening, limitTolerance);
}

// ---- lies about lengths ----

struct Lie {
  const char* name;
  std::string answer;  ///< to the first request, and to any other
  int open;
  std::string bytes;  ///< what is read of it
  int read;
};

void PrintTo(const Lie& lie, std::ostream* out) { *out << lie.name; }

const Lie lies[] = {
    {"LongerThanTheBody", whole + "Content-Length: 9\r\n\r\nbody", 0, "body", SOURCE_TRUNCATED},
    {"ShorterThanTheBody", whole + "Content-Length: 2\r\n\r\nbody", 0, "bo", 0},
    {"Zero", whole + "Content-Length: 0\r\n\r\nbody", 0, "", 0},
    {"Negative", whole + "Content-Length: -4\r\n\r\nbody", OPEN_HTTP_CLIENT_ERROR, "", 0},
    {"NoNumber", whole + "Content-Length: four\r\n\r\nbody", OPEN_HTTP_CLIENT_ERROR, "", 0},
    {"TooLargeForAnyNumber", whole + "Content-Length: 99999999999999999999\r\n\r\nbody", 0, "body", 0},
    {"TwiceDifferent", whole + "Content-Length: 4\r\nContent-Length: 2\r\n\r\nbody", 0, "bo", 0},
    {"TwiceTheSame", whole + "Content-Length: 4\r\nContent-Length: 4\r\n\r\nbody", 0, "body", 0},
    {"BesideChunks", whole + "Content-Length: 2\r\n" + chunked + "4\r\nbody\r\n0\r\n\r\n", 0, "body", 0},
    {"ChunkNegative", whole + chunked + "4\r\nbody\r\n-1\r\nmore", 0, "body", SOURCE_READ_FAILED},
    {"ChunkTooLargeForAnyNumber", whole + chunked + "4\r\nbody\r\nfffffffffffffffff\r\n", 0, "body",
     SOURCE_READ_FAILED},
    {"ChunkAbsurd", whole + chunked + "4\r\nbody\r\n7fffffffffffffff\r\nmore", 0, "bodymore", SOURCE_TRUNCATED},
    {"ChunkEmpty", whole + chunked + "4\r\nbody\r\n\r\n", 0, "body", SOURCE_READ_FAILED},
    {"ChunkLongerThanItsSize", whole + chunked + "4\r\nbody, more\r\n0\r\n\r\n", 0, "body", SOURCE_READ_FAILED},
    {"NotChunkedAtAll", whole + chunked + "stuff", 0, "", SOURCE_READ_FAILED},
    {"RangeLongerThanItself", partHeader(0, 3, 9) + "body, more", 0, "body", SOURCE_CHANGED},
    {"RangeOfAMuchLargerItem", partHeader(0, 3, size_t{1} << 31) + "body", 0, "body", SOURCE_CHANGED},
    {"RangeMissing", "HTTP/1.1 206 Partial\r\nContent-Length: 4\r\n\r\nbody", OPEN_HTTP_CLIENT_ERROR, "", 0},
    {"RangeFromElsewhere", partHeader(4, 7, 9) + "body", OPEN_HTTP_CLIENT_ERROR, "", 0},
    {"RangeBeyondTheTotal", partHeader(0, 3, 2) + "body", OPEN_HTTP_CLIENT_ERROR, "", 0},
    {"RangeTooLargeForAnyNumber",
     "HTTP/1.1 206 Partial\r\nContent-Range: bytes 0-3/99999999999999999999\r\nContent-Length: 4\r\n\r\nbody",
     OPEN_HTTP_CLIENT_ERROR, "", 0},
};

/// The answer to each request is the same, so that an item that goes on behind its first range is told to have changed.
class HostileLength : public testing::TestWithParam<Lie> {};

TEST_P(HostileLength, DeliversNothingButWhatWasPromised) {
  const RawServer server(GetParam().answer);
  const Outcome outcome = outcomeOf(server, "connect=60;stall=60");
  EXPECT_EQ(outcome.open, GetParam().open);
  EXPECT_EQ(outcome.bytes, GetParam().bytes);
  EXPECT_EQ(outcome.read, GetParam().read);
  EXPECT_LT(outcome.sinceOpening, limitTolerance);
}

INSTANTIATE_TEST_SUITE_P(Lies, HostileLength, testing::ValuesIn(lies),
                         [](const testing::TestParamInfo<Lie>& lie) { return lie.param.name; });

// ---- an item that becomes another ----

/// Two items of one size, which a server delivers in turn, with what it says about each.
struct Switch {
  const char* name;
  std::string linesOfOne;
  std::string linesOfTheOther;
  size_t sizeOfTheOther;
};

void PrintTo(const Switch& change, std::ostream* out) { *out << change.name; }

const Switch switches[] = {
    {"AnotherETag", "ETag: \"1\"\r\n", "ETag: \"2\"\r\n", 100000},
    {"AWeakETag", "ETag: W/\"1\"\r\n", "ETag: W/\"2\"\r\n", 100000},
    {"NoETagAnyMore", "ETag: \"1\"\r\n", "", 100000},
    {"AnotherTime", "Last-Modified: Mon, 01 Jan 2024 00:00:00 GMT\r\n",
     "Last-Modified: Mon, 01 Jan 2024 00:00:01 GMT\r\n", 100000},
    {"ATimeInsteadOfAnETag", "ETag: \"1\"\r\n", "Last-Modified: Mon, 01 Jan 2024 00:00:00 GMT\r\n", 100000},
    {"ALargerSize", "", "", 100001},
    {"ASmallerSize", "", "", 99999},
};

class HostileSwitch : public testing::TestWithParam<Switch> {};

TEST_P(HostileSwitch, NeverMixesTheBytesOfTwoItems) {
  const std::string other = textOf(testBytes(GetParam().sizeOfTheOther, 2));
  const RawServer server([&](RawConnection& connection, const std::string& request, int number) {
    return connection.send(number % 2 == 0 ? part(request, longItem(), GetParam().linesOfOne)
                                           : part(request, other, GetParam().linesOfTheOther));
  });
  const Outcome outcome = outcomeOf(server, "connect=60;stall=60");
  EXPECT_EQ(outcome.read, SOURCE_CHANGED);
  EXPECT_EQ(outcome.bytes, longItem().substr(0, 16384)) << "what the first answer brought";
}

INSTANTIATE_TEST_SUITE_P(Switches, HostileSwitch, testing::ValuesIn(switches),
                         [](const testing::TestParamInfo<Switch>& change) { return change.param.name; });

}  // namespace
}  // namespace quorin_test
