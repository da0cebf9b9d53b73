// Reading items of a real server: what it costs, and what becomes of servers that serve no ranges.
#include "http/http_source.h"

#include <gtest/gtest.h>

#include <thread>

#include "http_client.h"
#include "support/bytes.h"
#include "support/nginx.h"
#include "url/openers.h"

namespace quorin_test {
namespace {

using namespace md::host;

long long bodyBytesOf(const std::vector<Nginx::Request>& requests) {
  long long bytes = 0;
  for (const Nginx::Request& request : requests) {
    bytes += request.bodyBytes;
  }
  return bytes;
}

TEST(HttpSource, ASmallItemCostsOneRequest) {
  Nginx nginx;
  const Bytes bytes = testBytes(firstRange);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/item"));
  EXPECT_TRUE(isSeekable(*source));
  EXPECT_EQ(sizeOf(*source), firstRange);
  EXPECT_TRUE(readOn(*source).bytes == bytes);
  EXPECT_TRUE(readAt(*source, 100, 1000).bytes == slice(bytes, 100, 1000));
  const auto requests = nginx.stop();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].range, "bytes=0-16383");
  EXPECT_EQ(requests[0].status, 206);
}

TEST(HttpSource, SkippingABigCoverAndLookingAtTheEndCostsThreeRequestsOnOneConnection) {
  Nginx nginx;
  const Bytes bytes = testBytes(5000000);
  nginx.serve("song.mp3", bytes);
  const auto source = openedUrl(nginx.url("/song.mp3"));
  EXPECT_TRUE(readOn(*source, 4096).bytes == slice(bytes, 0, 4096));
  EXPECT_TRUE(readAt(*source, 1572864, 4096).bytes == slice(bytes, 1572864, 4096));
  EXPECT_TRUE(readAt(*source, 5000000 - 128, 128).bytes == slice(bytes, 5000000 - 128, 128));
  const UrlCost cost = source->cost();
  const auto requests = nginx.stop();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_EQ(connectionsOf(requests), 1U);
  EXPECT_LE(bodyBytesOf(requests), 64 * 1024);
  EXPECT_EQ(requests[2].range, "bytes=4999872-4999999") << "not beyond the end of the item";
  EXPECT_EQ(cost.requests, 3U);
  EXPECT_EQ(cost.reads, 3U);
  EXPECT_EQ(cost.bytes, static_cast<unsigned long long>(bodyBytesOf(requests)));
}

TEST(HttpSource, ReadingOnTakesFewRequestsThatGrowToALimit) {
  Nginx nginx;
  const Bytes bytes = testBytes(6000000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/item"));
  EXPECT_TRUE(readOn(*source).bytes == bytes);
  const auto requests = nginx.stop();
  EXPECT_LE(requests.size(), 12U);
  EXPECT_EQ(connectionsOf(requests), 1U);
  EXPECT_EQ(bodyBytesOf(requests), 6000000) << "each byte once";
  for (const Nginx::Request& request : requests) {
    EXPECT_LE(request.bodyBytes, HttpSource::largestRange);
  }
}

TEST(HttpSource, AJumpStartsWithASmallRangeAgain) {
  Nginx nginx;
  nginx.serve("item", testBytes(3000000));
  const auto source = openedUrl(nginx.url("/item"));
  readOn(*source, 600000);
  readAt(*source, 2000000, 10);
  EXPECT_EQ(nginx.stop().back().range, "bytes=2000000-2016383");
}

TEST(HttpSource, ASingleReadOfMuchAsksForExactlyThat) {
  Nginx nginx;
  const Bytes bytes = testBytes(3000000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/item"));
  source->seek(100000);
  Bytes buffer(1500000);
  unsigned int got = 0;
  for (unsigned int all = 0; all < buffer.size(); all += got) {
    ASSERT_EQ(source->read(buffer.data() + all, static_cast<unsigned int>(buffer.size()) - all, got), 0);
    ASSERT_GT(got, 0U);
  }
  EXPECT_TRUE(buffer == slice(bytes, 100000, 1500000));
  readAt(*source, 2999000, 100000);
  const auto requests = nginx.stop();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_EQ(requests[1].range, "bytes=100000-1599999");
  EXPECT_EQ(requests[2].range, "bytes=2999000-2999999");
}

TEST(HttpSource, AJumpOutOfALongRangeKeepsTheConnection) {
  Nginx nginx;
  const Bytes bytes = testBytes(5000000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/item"));
  readOn(*source, 1100000);
  EXPECT_TRUE(readAt(*source, 4000000, 1000).bytes == slice(bytes, 4000000, 1000));
  EXPECT_TRUE(readAt(*source, 10, 1000).bytes == slice(bytes, 10, 1000));
  EXPECT_EQ(connectionsOf(nginx.stop()), 1U);
}

TEST(HttpSource, GoingBackOverWhatCameLastCostsNothing) {
  Nginx nginx;
  const Bytes bytes = testBytes(3000000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/item"));
  readAt(*source, 1000000, 16000);
  const UrlCost before = source->cost();
  EXPECT_TRUE(readAt(*source, 1000000, 16000).bytes == slice(bytes, 1000000, 16000));
  EXPECT_TRUE(readAt(*source, 1012345, 100).bytes == slice(bytes, 1012345, 100));
  EXPECT_EQ(source->cost().requests, before.requests);
  EXPECT_EQ(source->cost().reads, before.reads);
}

TEST(HttpSource, AShortWayForwardReadsOnInsteadOfAskingAgain) {
  Nginx nginx;
  const Bytes bytes = testBytes(3000000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/item"));
  readOn(*source, 200000);  // inside the range from 114688 to 245759
  const unsigned int requests = source->cost().requests;
  for (int step = 0; step < 2; ++step) {
    long long here = 0;
    source->tell(here);
    const long long there = here + HttpSource::shortSkip;
    EXPECT_TRUE(readAt(*source, there, 100).bytes == slice(bytes, there, 100));
  }
  EXPECT_EQ(source->cost().requests, requests);
}

TEST(HttpSource, WhatTheReaderSkipsIsNotAskedFor) {
  Nginx nginx;
  const Bytes bytes = testBytes(3000000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/item"));
  for (const long long offset : {500000LL, 1000000LL, 1500000LL, 2000000LL, 2999999LL}) {
    EXPECT_TRUE(readAt(*source, offset, 100).bytes == slice(bytes, offset, 100));
  }
  const auto requests = nginx.stop();
  EXPECT_EQ(requests.size(), 6U);
  EXPECT_EQ(connectionsOf(requests), 1U);
  EXPECT_LE(bodyBytesOf(requests), 6 * firstRange);
}

TEST(HttpSource, AnIdleServerThatClosedTheConnectionIsAskedOnANewOne) {
  Nginx nginx;
  const Bytes bytes = testBytes(300000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/oneshot/item"));
  EXPECT_TRUE(readAt(*source, 200000, 100).bytes == slice(bytes, 200000, 100));
  EXPECT_EQ(connectionsOf(nginx.stop()), 2U);
}

TEST(HttpSource, AReadDeliversWhatIsAtHandInsteadOfWaitingForAll) {
  const Nginx nginx;
  nginx.serve("item", testBytes(3000000));
  const auto source = openedUrl(nginx.url("/item"));
  Bytes buffer(2000000);
  unsigned int got = 0;
  EXPECT_EQ(source->read(buffer.data(), 2000000, got), 0);
  EXPECT_GT(got, 0U);
  EXPECT_LE(got, static_cast<unsigned int>(firstRange));
}

TEST(HttpSource, AnEmptyItemHasSizeZeroAndEndsAtOnce) {
  const Nginx nginx;
  nginx.serve("item", Bytes());
  const auto source = openedUrl(nginx.url("/item"));
  EXPECT_EQ(sizeOf(*source), 0);
  const HttpRead read = readOn(*source);
  EXPECT_EQ(read.status, 0);
  EXPECT_TRUE(read.bytes.empty());
}

TEST(HttpSource, AServerThatIgnoresRangesIsReadAsAStreamOfTheSameResponse) {
  Nginx nginx;
  const Bytes bytes = testBytes(300000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/norange/item"));
  EXPECT_FALSE(isSeekable(*source));
  EXPECT_EQ(sizeOf(*source), 300000);
  EXPECT_EQ(source->seek(0), SOURCE_NOT_SEEKABLE);
  EXPECT_TRUE(readOn(*source).bytes == bytes);
  const auto requests = nginx.stop();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].status, 200);
}

TEST(HttpSource, AServerThatRefusesRangesIsAskedForTheWhole) {
  for (const std::string status : {"400", "406", "416", "501"}) {
    Nginx nginx;
    const Bytes bytes = testBytes(100000);
    nginx.serve("item", bytes);
    const auto source = openedUrl(nginx.url("/norange" + status + "/item"));
    EXPECT_FALSE(isSeekable(*source)) << status;
    EXPECT_EQ(sizeOf(*source), 100000) << status;
    EXPECT_TRUE(readOn(*source).bytes == bytes) << status;
    EXPECT_EQ(headerLines(*source).front(), "HTTP/1.1 200 OK\r\n") << "the last response only";
    const auto requests = nginx.stop();
    ASSERT_EQ(requests.size(), 2U) << status;
    EXPECT_EQ(requests[0].range, "bytes=0-16383") << status;
    EXPECT_EQ(requests[1].range, "-") << status;
    if (status == "406" || status == "416") {  // after the others nginx closes
      EXPECT_EQ(connectionsOf(requests), 1U) << status;
    }
  }
}

TEST(HttpSource, AChunkedBodyIsReadToItsEndWithoutASize) {
  const Nginx nginx;
  const Bytes bytes = testBytes(300000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/chunked/item"));
  long long size = 7;
  EXPECT_EQ(source->size(size), SOURCE_SIZE_UNKNOWN);
  EXPECT_EQ(size, 7);
  EXPECT_FALSE(isSeekable(*source));
  const HttpRead read = readOn(*source);
  EXPECT_EQ(read.status, 0);
  EXPECT_TRUE(read.bytes == bytes);
}

TEST(HttpSource, ABodyThatEndsWithTheConnectionIsReadToItsEnd) {
  const Nginx nginx;
  const Bytes bytes = testBytes(300000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/nolength/item"));
  long long size = 0;
  EXPECT_EQ(source->size(size), SOURCE_SIZE_UNKNOWN);
  const HttpRead read = readOn(*source);
  EXPECT_EQ(read.status, 0);
  EXPECT_TRUE(read.bytes == bytes);
}

TEST(HttpSource, ACompressedBodyIsNotAskedFor) {
  const Nginx nginx;
  const Bytes bytes(100000, 'a');
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/gzip/item"));
  for (const std::string& line : headerLines(*source)) {
    EXPECT_EQ(line.find("Content-Encoding"), std::string::npos);
  }
  EXPECT_TRUE(readOn(*source).bytes == bytes);
}

TEST(HttpSource, ABodyThatIsCompressedAllTheSameComesAsItIs) {
  const Nginx nginx;
  const Bytes bytes = testBytes(100000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/encoded/item"));
  EXPECT_TRUE(readOn(*source).bytes == bytes);
}

TEST(HttpSource, TheHeaderIsHandedOutAsItWasSent) {
  const Nginx nginx;
  nginx.serve("song.mp3", testBytes(100000));
  const auto source = openedUrl(nginx.url("/song.mp3"));
  const std::deque<std::string> lines = headerLines(*source);
  EXPECT_EQ(lines.front(), "HTTP/1.1 206 Partial Content\r\n");
  EXPECT_NE(std::find(lines.begin(), lines.end(), "Content-Type: audio/mpeg\r\n"), lines.end());
  EXPECT_NE(std::find(lines.begin(), lines.end(), "Content-Range: bytes 0-16383/100000\r\n"), lines.end());
  EXPECT_EQ(lines.back(), "\r\n");
}

TEST(HttpSource, AnItemThatChangesWhileItIsReadIsAFailure) {
  const Nginx nginx;
  nginx.serve("item", testBytes(300000));
  const auto source = openedUrl(nginx.url("/item"));
  readOn(*source, 100);
  nginx.serve("item", testBytes(200000));
  EXPECT_EQ(readAt(*source, 150000, 10).status, SOURCE_CHANGED);
}

TEST(HttpSource, AnItemThatShrinksWhileItIsReadIsAFailure) {
  const Nginx nginx;
  nginx.serve("item", testBytes(300000));
  const auto source = openedUrl(nginx.url("/item"));
  nginx.serve("item", testBytes(1000));
  EXPECT_EQ(readAt(*source, 150000, 10).status, SOURCE_CHANGED);
}

TEST(HttpSource, CanBeDroppedInTheMiddleOfABody) {
  const Nginx nginx;
  nginx.serve("item", testBytes(5000000));
  for (const char* place : {"/item", "/norange/item", "/chunked/item"}) {
    const auto source = openedUrl(nginx.url(place));
    readOn(*source, 100000);
  }
}

TEST(HttpSource, AReaderThatTakesItsTimeKeepsTheMemoryBounded) {
  const Nginx nginx;
  const Bytes bytes = testBytes(5000000);
  nginx.serve("item", bytes);
  const auto source = openedUrl(nginx.url("/norange/item"));
  Bytes one(1);
  unsigned int got = 0;
  size_t read = 0;
  while (read < 100000 && source->read(one.data(), 1, got) == 0 && got == 1) {
    ++read;
  }
  EXPECT_LE(source->cost().bytes, 100000U + 2 * 64 * 1024);
  EXPECT_TRUE(readOn(*source).bytes == slice(bytes, 100000, bytes.size()));
}

TEST(HttpSource, SeveralThreadsReadTheirOwnSources) {
  const Nginx nginx;
  const Bytes bytes = testBytes(400000);
  nginx.serve("item", bytes);
  std::vector<int> good(4);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < good.size(); ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 5; ++round) {
        const HttpOpened opened = openUrl(nginx.url(i % 2 == 0 ? "/item" : "/chunked/item"));
        good[i] += opened.code == 0 && readOn(*opened.url).bytes == bytes ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(good, std::vector<int>(4, 5));
}

}  // namespace
}  // namespace quorin_test
