// Memory that ends while libcurl is at work, which knows no exceptions.

#include <gtest/gtest.h>

#include <string>

#include "driver/allocation/allocation_failure.h"
#include "support/bytes.h"
#include "support/mpeg_bytes.h"
#include "support/range_answers.h"
#include "support/raw_server.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

/// Longer than a range that is asked for, so that there is a second request, for the end.
std::string song() {
  const Bytes frames = mpegFrames(100);
  return {frames.begin(), frames.end()};
}

TEST_F(AllocationFailure, OfAnItemOverHttpIsTold) {
  const std::string item = song();
  RawServer server([&item](RawConnection& connection, const std::string& request, int) {
    return connection.send(part(request, item, "Content-Type: audio/mpeg\r\nX-Line: that is worth an allocation\r\n"));
  });
  expectEveryFailureIsTold(server.url());
  EXPECT_GT(server.requests().size(), 100U);
}

TEST_F(AllocationFailure, OfALiveStreamIsTold) {
  const std::string sound = song();
  RawServer server([&sound](RawConnection& connection, const std::string&, int) {
    connection.send("ICY 200 OK\r\nicy-name: a station with a name\r\nicy-metaint: 1000\r\n\r\n");
    for (size_t sent = 0; sent + 1000 <= sound.size(); sent += 1000) {
      connection.send(sound.substr(sent, 1000) + "\1StreamTitle='x';");
    }
    return false;
  });
  expectEveryFailureIsTold(server.url());
}

}  // namespace
}  // namespace zu::md::common::quorin
