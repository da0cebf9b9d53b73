// Internet radio.
#include <gmock/gmock.h>

#include "http_client.h"
#include "support/bytes.h"
#include "support/icecast.h"
#include "support/nginx.h"
#include "support/raw_server.h"
#include "url/openers.h"

namespace quorin_test {
namespace {

using namespace md::host;
using testing::Contains;
using testing::HasSubstr;

TEST(HttpIcy, AStationIsAStreamOfUnknownSizeWithMetadataInIt) {
  const Icecast station(testBytes(50000));
  const auto source = openedUrl(station.url());
  EXPECT_FALSE(isSeekable(*source));
  EXPECT_EQ(source->seek(0), SOURCE_NOT_SEEKABLE);
  long long size = 0;
  EXPECT_EQ(source->size(size), SOURCE_SIZE_UNKNOWN);
  const std::deque<std::string> lines = headerLines(*source);
  EXPECT_EQ(lines.front(), "HTTP/1.0 200 OK\r\n");
  EXPECT_THAT(lines, Contains("Content-Type: audio/mpeg\r\n"));
  EXPECT_THAT(lines, Contains("icy-br:128\r\n"));
  EXPECT_THAT(lines, Contains("icy-metaint:1024\r\n"));
  EXPECT_EQ(readOn(*source, 20000).bytes.size(), 20000U);
}

TEST(HttpIcy, TheTitleOfAStationComesInItsStream) {
  const Icecast station(testBytes(50000));
  station.setTitle("Nobody");
  const auto source = openedUrl(station.url());
  EXPECT_THAT(textOf(readOn(*source, 40000).bytes), HasSubstr("StreamTitle='Nobody';"));
}

TEST(HttpIcy, TheStatusLineOfOldServersIsAccepted) {
  const RawServer server("ICY 200 OK\r\nicy-name:Old one\r\nicy-br:56\r\nicy-metaint:8192\r\n\r\naudio");
  const auto source = openedUrl(server.url());
  EXPECT_EQ(headerLines(*source), (std::deque<std::string>{"ICY 200 OK\r\n", "icy-name:Old one\r\n", "icy-br:56\r\n",
                                                           "icy-metaint:8192\r\n", "\r\n"}));
  EXPECT_FALSE(isSeekable(*source));
  const HttpRead read = readOn(*source);
  EXPECT_EQ(read.status, 0);
  EXPECT_EQ(textOf(read.bytes), "audio");
}

TEST(HttpIcy, AnItemWithMetadataInItCannotSeekEvenIfTheServerServesRanges) {
  Nginx nginx;
  const Bytes bytes = testBytes(50000);
  nginx.serve("item", bytes);
  const std::string rangeAnswer =
      "HTTP/1.1 206 Partial\r\nContent-Range: bytes 0-3/8\r\nicy-metaint: 4\r\nContent-Length: 4\r\n\r\npart";
  const RawServer server([&](RawConnection& connection, const std::string& request, int) {
    return connection.send(headerOf(request, "Range").empty()
                               ? "HTTP/1.1 200 OK\r\nicy-metaint: 4\r\nContent-Length: 8\r\n\r\nallofit!"
                               : rangeAnswer);
  });
  const auto source = openedUrl(server.url());
  EXPECT_FALSE(isSeekable(*source));
  EXPECT_EQ(textOf(readOn(*source).bytes), "allofit!");
  const auto real = openedUrl(nginx.url("/icy/item"));
  EXPECT_FALSE(isSeekable(*real));
  EXPECT_TRUE(readOn(*real).bytes == bytes);
}

TEST(HttpIcy, AnIntervalOfZeroMeansNoMetadata) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    return connection.send(
        "HTTP/1.1 206 Partial\r\nContent-Range: bytes 0-3/4\r\nicy-metaint: 0\r\nContent-Length: 4\r\n\r\nitem");
  });
  const auto source = openedUrl(server.url());
  EXPECT_TRUE(isSeekable(*source));
  EXPECT_EQ(textOf(readOn(*source).bytes), "item");
}

}  // namespace
}  // namespace quorin_test
