// Servers that break their word, the connection, or nothing but the reader's patience.
#include <gtest/gtest.h>

#include <chrono>

#include "http/http_source.h"
#include "http_client.h"
#include "support/bytes.h"
#include "support/range_answers.h"
#include "support/raw_server.h"
#include "url/openers.h"

namespace quorin_test {
namespace {

using namespace md::host;
using std::chrono::milliseconds;

HttpTexts withLimits(const std::string& limits) {
  HttpTexts texts;
  texts.limits = limits;
  return texts;
}

const std::string& longItem() {
  static const std::string item = textOf(testBytes(100000));
  return item;
}

/// Serves the first request well and the later ones by `later`.
RawServer::Script afterAGoodStart(const RawServer::Script& later, const std::string& moreLines = "") {
  return [later, moreLines](RawConnection& connection, const std::string& request, int number) {
    if (number > 0) {
      return later(connection, request, number);
    }
    return connection.send(part(request, longItem(), moreLines));
  };
}

RawServer::Script answerLater(const std::string& answer) {
  return afterAGoodStart([answer](RawConnection& connection, const std::string&, int) {
    connection.send(answer);
    return false;
  });
}

RawServer::Script silentLater() {
  return afterAGoodStart([](RawConnection& connection, const std::string&, int) {
    connection.hold();
    return false;
  });
}

int statusOfALaterRange(const RawServer::Script& script) {
  const RawServer server(script);
  const auto source = openedUrl(server.url());
  EXPECT_TRUE(isSeekable(*source));
  const HttpRead read = readAt(*source, 50000, 100);
  EXPECT_TRUE(read.bytes.empty());
  unsigned char byte = 0;
  unsigned int got = 7;
  const auto requests = server.requests().size();
  EXPECT_EQ(source->read(&byte, 1, got), read.status) << "a failure is final";
  EXPECT_EQ(got, 0U);
  EXPECT_EQ(server.requests().size(), requests) << "and costs nothing more";
  return read.status;
}

TEST(HttpFault, AShortBodyIsAFailureAfterTheBytesThatCame) {
  const RawServer server("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this");
  const auto source = openedUrl(server.url());
  EXPECT_EQ(sizeOf(*source), 100);
  const HttpRead read = readOn(*source);
  EXPECT_EQ(textOf(read.bytes), "only this");
  EXPECT_EQ(read.status, SOURCE_TRUNCATED);
}

TEST(HttpFault, AChunkedBodyWithoutItsEndIsAFailureAfterTheBytesThatCame) {
  const RawServer server("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n9\r\nonly this\r\n");
  const auto source = openedUrl(server.url());
  const HttpRead read = readOn(*source);
  EXPECT_EQ(textOf(read.bytes), "only this");
  EXPECT_EQ(read.status, SOURCE_TRUNCATED);
}

TEST(HttpFault, AMalformedChunkIsAFailureAfterTheBytesThatCame) {
  const RawServer server("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n9\r\nonly this\r\nzzz\r\n");
  const auto source = openedUrl(server.url());
  const HttpRead read = readOn(*source);
  EXPECT_EQ(textOf(read.bytes), "only this");
  EXPECT_EQ(read.status, SOURCE_READ_FAILED);
}

TEST(HttpFault, AShortRangeIsAFailureAfterTheBytesThatCame) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    connection.send(partHeader(0, 16383, 100000) + longItem().substr(0, 1000));
    return false;
  });
  const auto source = openedUrl(server.url());
  const HttpRead read = readOn(*source);
  EXPECT_EQ(textOf(read.bytes), longItem().substr(0, 1000));
  EXPECT_EQ(read.status, SOURCE_TRUNCATED);
}

TEST(HttpFault, ARangeOfFewerBytesThanItsHeaderTellsIsAFailureToo) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    return connection.send(
        "HTTP/1.1 206 Partial\r\nContent-Range: bytes 0-16383/100000\r\nContent-Length: 4\r\n\r\nfour");
  });
  const auto source = openedUrl(server.url());
  const HttpRead read = readOn(*source);
  EXPECT_EQ(textOf(read.bytes), "four");
  EXPECT_EQ(read.status, SOURCE_TRUNCATED);
}

TEST(HttpFault, OfARangeOfMoreBytesThanItsHeaderTellsOnlyThoseAreTaken) {
  const RawServer server("HTTP/1.1 206 Partial\r\nContent-Range: bytes 0-3/4\r\nContent-Length: 10\r\n\r\nfour, more");
  const auto source = openedUrl(server.url());
  EXPECT_EQ(sizeOf(*source), 4);
  const HttpRead read = readOn(*source);
  EXPECT_EQ(textOf(read.bytes), "four");
  EXPECT_EQ(read.status, 0);
}

TEST(HttpFault, AServerThatGivesSmallerRangesThanAskedIsReadToTheEnd) {
  const RawServer server([](RawConnection& connection, const std::string& request, int) {
    const size_t first = rangeOf(request).first;
    const size_t last = std::min(first + 6999, longItem().size() - 1);
    return connection.send(partHeader(first, last, longItem().size()) + longItem().substr(first, last - first + 1));
  });
  const auto source = openedUrl(server.url());
  EXPECT_EQ(textOf(readOn(*source).bytes), longItem());
  EXPECT_EQ(server.connections(), 1);
}

TEST(HttpFault, AConnectionResetInTheBodyIsAFailure) {
  const int status = statusOfALaterRange(afterAGoodStart([](RawConnection& connection, const std::string&, int) {
    connection.send(partHeader(50000, 66383, 100000));
    connection.reset();
    return false;
  }));
  EXPECT_EQ(status, SOURCE_READ_FAILED);
}

TEST(HttpFault, ALaterRangeThatIsNotServedAnyMoreMeansThatTheItemChanged) {
  EXPECT_EQ(statusOfALaterRange(answerLater("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n" + longItem())),
            SOURCE_CHANGED);
  EXPECT_EQ(
      statusOfALaterRange(answerLater("HTTP/1.1 416 No\r\nContent-Range: bytes */100\r\nContent-Length: 0\r\n\r\n")),
      SOURCE_CHANGED);
}

TEST(HttpFault, ALaterRangeOfAnotherVersionMeansThatTheItemChanged) {
  const auto version = [](const std::string& first, const std::string& later) {
    return statusOfALaterRange(
        afterAGoodStart([later](RawConnection& connection, const std::string& request,
                                int) { return connection.send(part(request, longItem(), later)); },
                        first));
  };
  EXPECT_EQ(version("ETag: \"1\"\r\n", "ETag: \"2\"\r\n"), SOURCE_CHANGED);
  EXPECT_EQ(
      version("Last-Modified: Mon, 01 Jan 2024 00:00:00 GMT\r\n", "Last-Modified: Tue, 02 Jan 2024 00:00:00 GMT\r\n"),
      SOURCE_CHANGED);
}

TEST(HttpFault, ALaterRangeFromAnotherPlaceIsRefused) {
  EXPECT_EQ(statusOfALaterRange(answerLater(partHeader(0, 16383, 100000) + longItem().substr(0, 16384))),
            SOURCE_CHANGED);
  EXPECT_EQ(statusOfALaterRange(answerLater("HTTP/1.1 206 Partial\r\nContent-Length: 4\r\n\r\nfour")), SOURCE_CHANGED);
}

TEST(HttpFault, ALaterErrorOfTheServerIsAFailure) {
  EXPECT_EQ(statusOfALaterRange(answerLater("HTTP/1.1 500 Oops\r\nContent-Length: 0\r\n\r\n")), SOURCE_READ_FAILED);
  EXPECT_EQ(statusOfALaterRange(answerLater("nothing like HTTP\r\n\r\n")), SOURCE_READ_FAILED);
}

TEST(HttpFault, WhatCameBeforeAFailureCanStillBeRead) {
  const RawServer server(answerLater("HTTP/1.1 500 Oops\r\nContent-Length: 0\r\n\r\n"));
  const auto source = openedUrl(server.url());
  ASSERT_EQ(readOn(*source, 1000).status, 0);
  EXPECT_EQ(readAt(*source, 50000, 100).status, SOURCE_READ_FAILED);
  EXPECT_EQ(textOf(readAt(*source, 500, 100).bytes), longItem().substr(500, 100));
}

TEST(HttpFault, APartWithoutATotalIsAskedForAsAWhole) {
  const RawServer server([](RawConnection& connection, const std::string& request, int) {
    return headerOf(request, "Range").empty()
               ? connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nwhole")
               : connection.send("HTTP/1.1 206 Partial\r\nContent-Range: bytes 0-3/*\r\nContent-Length: 4\r\n\r\npart");
  });
  const auto source = openedUrl(server.url());
  EXPECT_FALSE(isSeekable(*source));
  EXPECT_EQ(textOf(readOn(*source).bytes), "whole");
  EXPECT_EQ(server.connections(), 1);
}

TEST(HttpFault, APartThatNobodyAskedForIsNoAnswer) {
  const RawServer server("HTTP/1.1 206 Partial\r\nContent-Range: bytes 5-8/*\r\nContent-Length: 4\r\n\r\npart");
  EXPECT_EQ(openUrl(server.url()).code, OPEN_HTTP_CLIENT_ERROR);
  EXPECT_EQ(server.requests().size(), 2U);
}

TEST(HttpFault, ARefusalWithABodyWithoutEndIsLeftBehind) {
  const RawServer server([](RawConnection& connection, const std::string& request, int) {
    if (headerOf(request, "Range").empty()) {
      return connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nwhole");
    }
    bool open = connection.send("HTTP/1.1 406 No\r\n\r\n");
    while (open) {
      open = connection.send(std::string(65536, 'x'));
    }
    return false;
  });
  const auto source = openedUrl(server.url());
  EXPECT_EQ(textOf(readOn(*source).bytes), "whole");
  EXPECT_LT(source->cost().bytes, 2U * 1024 * 1024);
}

TEST(HttpFault, ARefusalThatHangsIsLeftBehind) {
  const RawServer server([](RawConnection& connection, const std::string& request, int) {
    if (headerOf(request, "Range").empty()) {
      return connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nwhole");
    }
    connection.send("HTTP/1.1 406 No\r\nContent-Length: 100\r\n\r\n");
    connection.hold();
    return false;
  });
  const auto source = openedUrl(server.url(), withLimits("stall=60"));
  EXPECT_EQ(textOf(readOn(*source).bytes), "whole");
  EXPECT_EQ(server.connections(), 2);
}

TEST(HttpFault, ABodyThatStallsEndsByTheStallLimitAfterTheBytesThatCame) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this");
    connection.hold();
    return false;
  });
  const auto source = openedUrl(server.url(), withLimits("stall=0.4"));
  const HttpRead read = readOn(*source);
  EXPECT_EQ(textOf(read.bytes), "only this");
  EXPECT_EQ(read.status, SOURCE_TIMED_OUT);
}

TEST(HttpFault, ALaterRangeThatIsNeverAnsweredEndsByTheStallLimit) {
  const RawServer server(silentLater());
  const auto source = openedUrl(server.url(), withLimits("stall=0.4"));
  EXPECT_EQ(readAt(*source, 50000, 100).status, SOURCE_TIMED_OUT);
}

TEST(HttpFault, AfterAFailureNobodyWaitsAgain) {
  const RawServer server(silentLater());
  const auto source = openedUrl(server.url(), withLimits("stall=0.4"));
  ASSERT_EQ(readAt(*source, 50000, 100).status, SOURCE_TIMED_OUT);
  const size_t asked = server.requests().size();
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(readAt(*source, 50000 + 1000 * i, 100).status, SOURCE_TIMED_OUT);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));  // 50 limits are twenty seconds
  EXPECT_EQ(server.requests().size(), asked);
}

TEST(HttpFault, ABodyThatTricklesGoesOnUnderTheStallLimit) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\n");
    connection.trickle("twenty bytes of text", milliseconds(100));
    return false;
  });
  const auto source = openedUrl(server.url(), withLimits("stall=1"));  // the body takes two seconds
  EXPECT_EQ(textOf(readOn(*source).bytes), "twenty bytes of text");
}

TEST(HttpFault, ABodyThatTricklesEndsByTheTotalLimit) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    bool open = connection.send("HTTP/1.1 200 OK\r\n\r\n");
    while (open) {
      open = connection.trickle("trickle", milliseconds(20));
    }
    return false;
  });
  const auto source = openedUrl(server.url(), withLimits("stall=20;total=0.8"));
  const HttpRead read = readOn(*source);
  EXPECT_EQ(read.status, SOURCE_TIMED_OUT);
  EXPECT_EQ(textOf(read.bytes).substr(0, 7), "trickle");
}

TEST(HttpFault, ABodyThatNeverRunsDryEndsByTheTotalLimit) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    bool open = connection.send("HTTP/1.1 200 OK\r\n\r\n");
    while (open) {
      open = connection.send(std::string(65536, 'x'));
    }
    return false;
  });
  const auto source = openedUrl(server.url(), withLimits("stall=20;total=0.8"));
  int status = 0;
  for (int reads = 0; status == 0 && reads < 200; ++reads) {
    status = readOn(*source, 65536).status;
    std::this_thread::sleep_for(milliseconds(50));  // so that more is at hand whenever the reader asks
  }
  EXPECT_EQ(status, SOURCE_TIMED_OUT);
}

TEST(HttpFault, TheTimeThatTheReaderTakesIsNoStall) {
  const RawServer server(afterAGoodStart([](RawConnection& connection, const std::string& request, int) {
    return connection.send(part(request, longItem()));
  }));
  const auto source = openedUrl(server.url(), withLimits("stall=0.5"));
  ASSERT_EQ(readOn(*source, 100).status, 0);
  std::this_thread::sleep_for(milliseconds(800));
  EXPECT_EQ(textOf(readOn(*source).bytes), longItem().substr(100));
}

TEST(HttpFault, ASourceIsDroppedAtOnceWhateverTheServerDoes) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this");
    connection.hold();
    return false;
  });
  auto source = openedUrl(server.url(), withLimits("stall=60"));
  ASSERT_EQ(readOn(*source, 4).status, 0);
  const auto before = std::chrono::steady_clock::now();
  source.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
}

}  // namespace
}  // namespace quorin_test
