#include "framework/cache_read.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "support/bytes.h"
#include "support/log_capture.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

class CacheRead : public testing::Test {
 protected:
  CacheRead() {
    SourceScript script;
    script.bytes = text("abcdef");
    strell.attach(boost::make_shared<ScriptedSource>(script));
  }

  strell::Strell strell;
  LogCapture log;
  const ReadPlace place = {"Reader", "operation", 7};
};

TEST_F(CacheRead, DeliversTheBytesAndStepsBehindThem) {
  strell.setDataCacheOffset(1);
  const unsigned char* const bytes = readCached(strell, 3, place);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(Bytes(bytes, bytes + 3), text("bcd"));
  EXPECT_EQ(strell.getDataCacheOffset(), 4U);
  EXPECT_EQ(log.dump(), "");
}

TEST_F(CacheRead, AFailureIsLoggedWithItsPlaceAndMovesNothing) {
  strell.setDataCacheOffset(4);
  EXPECT_EQ(readCached(strell, 3, place), nullptr);
  EXPECT_EQ(strell.getDataCacheOffset(), 4U);
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0], (LogLine{0x68, 3000,
                                     "Reader::operation():7 error reading cached data ret=-1003 "
                                     "buffer=(nil)!\n"}));
}

TEST_F(CacheRead, NoBytesAtAValidOffsetAreDelivered) {
  strell.setDataCacheOffset(6);
  EXPECT_NE(readCached(strell, 0, place), nullptr);
}

}  // namespace
}  // namespace zu::md::common::quorin
