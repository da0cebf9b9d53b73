#include "http/http_response.h"

#include <gmock/gmock.h>

namespace {

using md::host::ContentRange;
using md::host::HeaderBlock;
using md::host::HttpResponse;
using md::host::parseContentRange;
using testing::ElementsAre;

HttpResponse partial(long long first, long long last, long long total) {
  HttpResponse response;
  response.status = 206;
  response.contentRange = ContentRange{first, last, total};
  return response;
}

TEST(HttpContentRange, ReadsFirstLastAndTotal) {
  const auto range = parseContentRange("bytes 16384-32767/5000000000");
  ASSERT_TRUE(range);
  EXPECT_EQ(range->first, 16384);
  EXPECT_EQ(range->last, 32767);
  EXPECT_EQ(range->total, 5000000000);
}

TEST(HttpContentRange, TakesTheUnitInAnyCase) { EXPECT_TRUE(parseContentRange("Bytes 0-0/1")); }

TEST(HttpContentRange, KnowsATotalThatTheServerDoesNotKnow) {
  const auto range = parseContentRange("bytes 0-99/*");
  ASSERT_TRUE(range);
  EXPECT_EQ(range->total, -1);
}

TEST(HttpContentRange, RefusesWhatIsMalformedOrContradictsItself) {
  for (const char* text :
       {"", "bytes", "bytes ", "bytes */100", "bytes 0-99", "bytes 0-99/", "bytes 0-99/100x", "bytes -99/100",
        "bytes 0-/100", "bytes 5-4/100", "bytes 0-100/100", "bytes 0--1/0", "items 0-99/100", "bytes +0-99/100",
        "bytes 0-99/-100", "bytes 0-99999999999999999999/*", "bytes 0-99/**", "0-99/100", "bytes  0-99/100"}) {
    EXPECT_FALSE(parseContentRange(text)) << text;
  }
}

TEST(HttpHeaderBlock, KeepsLinesAsTheyAre) {
  HeaderBlock block;
  EXPECT_TRUE(block.add("HTTP/1.1 200 OK\r\n"));
  EXPECT_TRUE(block.add("icy-br:128\n"));
  EXPECT_FALSE(block.complete());
  EXPECT_TRUE(block.add("\r\n"));
  EXPECT_TRUE(block.complete());
  EXPECT_THAT(block.lines(), ElementsAre("HTTP/1.1 200 OK\r\n", "icy-br:128\n", "\r\n"));
}

TEST(HttpHeaderBlock, DropsInterimResponses) {
  HeaderBlock block;
  for (const char* line : {"HTTP/1.1 100 Continue\r\n", "\r\n", "HTTP/1.1 103 Early Hints\r\n", "Link: <x>\r\n", "\r\n",
                           "HTTP/1.1 206 Partial Content\r\n", "\r\n"}) {
    EXPECT_FALSE(block.complete());
    EXPECT_TRUE(block.add(line));
  }
  EXPECT_TRUE(block.complete());
  EXPECT_THAT(block.lines(), ElementsAre("HTTP/1.1 206 Partial Content\r\n", "\r\n"));
}

TEST(HttpHeaderBlock, LeavesTrailersOut) {
  HeaderBlock block;
  for (const char* line : {"HTTP/1.1 200 OK\r\n", "\r\n", "X-Checksum: 1\r\n", "\r\n"}) {
    EXPECT_TRUE(block.add(line));
  }
  EXPECT_THAT(block.lines(), ElementsAre("HTTP/1.1 200 OK\r\n", "\r\n"));
}

TEST(HttpHeaderBlock, TakesALineUpToTheLimitAndNoLonger) {
  EXPECT_TRUE(HeaderBlock().add(std::string(md::host::longestHeaderLine, 'x')));
  EXPECT_FALSE(HeaderBlock().add(std::string(md::host::longestHeaderLine + 1, 'x')));
}

TEST(HttpHeaderBlock, TakesAHeaderUpToTheLimitInterimResponsesIncluded) {
  HeaderBlock block;
  const std::string interim = "HTTP/1.1 100 Go on\r\n";
  size_t taken = 0;
  while (block.add(interim) && block.add("\r\n")) {
    taken += interim.size() + 2;
    ASSERT_LE(taken, md::host::largestHeader);
  }
  EXPECT_GT(taken, md::host::largestHeader - interim.size() - 2);
}

TEST(HttpHeaderBlock, TakesNoTransferCodingButChunks) {
  for (const char* line :
       {"Transfer-Encoding: chunked\r\n", "transfer-encoding:CHUNKED\n", "Transfer-Encoding: identity\r\n",
        "Content-Encoding: gzip\r\n", "X-Transfer-Encoding: gzip\r\n", "Transfer-Encoding\r\n"}) {
    EXPECT_TRUE(HeaderBlock().add(line)) << line;
  }
  for (const char* line :
       {"Transfer-Encoding: gzip\r\n", "TRANSFER-ENCODING:deflate\n", "Transfer-Encoding: gzip, chunked\r\n",
        "Transfer-Encoding: \t br \r\n", "Transfer-Encoding:\r\n"}) {
    EXPECT_FALSE(HeaderBlock().add(line)) << line;
  }
}

TEST(HttpResponses, OnlyAPartFromTheStartOfAKnownTotalOpensSeekable) {
  EXPECT_TRUE(opensSeekable(partial(0, 99, 1000)));
  EXPECT_FALSE(opensSeekable(partial(1, 99, 1000)));
  EXPECT_FALSE(opensSeekable(partial(0, 99, -1)));
  HttpResponse icy = partial(0, 99, 1000);
  icy.icyMetadata = true;
  EXPECT_FALSE(opensSeekable(icy));
  HttpResponse whole = partial(0, 99, 1000);
  whole.status = 200;
  EXPECT_FALSE(opensSeekable(whole));
}

TEST(HttpResponses, ALaterPartMustAgreeInTotalAndValidators) {
  HttpResponse first = partial(0, 99, 1000);
  first.etag = "\"a\"";
  first.lastModified = "Mon";
  HttpResponse later = partial(500, 599, 1000);
  EXPECT_TRUE(isSameItem(partial(0, 99, 1000), later)) << "a server without validators tells no more than the total";
  EXPECT_FALSE(isSameItem(first, later)) << "a version that had validators is not told by none";
  later.etag = "\"a\"";
  EXPECT_TRUE(isSameItem(first, later)) << "one that agrees is enough";
  later.lastModified = "Mon";
  EXPECT_TRUE(isSameItem(first, later));
  EXPECT_TRUE(isSameItem(partial(0, 99, 1000), later)) << "what only the later one carries tells nothing";
  later.etag = "\"b\"";
  EXPECT_FALSE(isSameItem(first, later));
  later.etag.clear();
  EXPECT_TRUE(isSameItem(first, later));
  later.lastModified = "Tue";
  EXPECT_FALSE(isSameItem(first, later));
  EXPECT_FALSE(isSameItem(first, partial(500, 599, 1001)));
  EXPECT_FALSE(isSameItem(first, HttpResponse()));
}

}  // namespace
