// Sources that break their contract are kept from doing harm.

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <climits>

#include "strell_support.h"

namespace quorin_test {
namespace {

/// Delivers the byte 'x', and answers each call with what the test sets.
class BrokenSource : public md::HttpAccess {
 public:
  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override {
    ++reads;
    std::fill_n(buffer, std::min(length, delivered), static_cast<unsigned char>('x'));
    bytesRead = std::min(length, delivered) + tooMany;
    return readStatus;
  }
  int seek(long long) override {
    ++seeks;
    return seekStatus;
  }
  int tell(long long& offset) override {
    offset = position;
    return 0;
  }
  int size(long long& bytes) override {
    bytes = declared;
    return sizeStatus;
  }
  int getSeekable(bool& seekable) override {
    seekable = canSeek;
    return seekableStatus;
  }
  int getHeaderList(std::deque<std::string>& lines) override {
    lines = {"icy-metaint: 4"};
    return headerStatus;
  }

  unsigned int delivered = UINT_MAX;
  unsigned int tooMany = 0;
  int readStatus = 0;
  int seekStatus = 0;
  long long position = 0;
  long long declared = 1000000;
  int sizeStatus = 0;
  bool canSeek = true;
  int seekableStatus = 0;
  int headerStatus = -1;
  int reads = 0;
  int seeks = 0;
};

class StrellBrokenSource : public testing::Test {
 protected:
  strell::Strell& attach() {
    EXPECT_EQ(media_.attach(source), 0);
    return media_;
  }

  boost::shared_ptr<BrokenSource> source = boost::make_shared<BrokenSource>();

 private:
  strell::Strell media_;
};

TEST_F(StrellBrokenSource, APositiveReadFailureIsReportedBehindItsBytes) {
  strell::Strell& media = attach();
  source->delivered = 3;
  source->readStatus = 5;
  const DataRead read = readData(media, 10);
  EXPECT_EQ(read.status, strell::SOURCE_BROKEN);
  EXPECT_EQ(read.bytes, Bytes(3, 'x'));
  EXPECT_EQ(readCacheAt(media, 0, 3).status, 0);
  EXPECT_EQ(readCacheAt(media, 0, 100).status, strell::NOT_CACHED);
}

TEST_F(StrellBrokenSource, MoreBytesThanAskedForAreNotBelieved) {
  for (const unsigned int tooMany : {1U, 4096U, UINT_MAX - 20000U}) {
    strell::Strell& media = attach();
    source->tooMany = tooMany;
    const DataRead read = readData(media, 10000);
    EXPECT_EQ(read.status, strell::SOURCE_BROKEN);
    EXPECT_TRUE(read.bytes.empty());
    EXPECT_EQ(tell(media), 0);
    EXPECT_EQ(readCache(media, 1).status, strell::NOT_CACHED);
  }
}

TEST_F(StrellBrokenSource, MoreBytesThanAskedForAreNotBelievedAmongMetadata) {
  source->headerStatus = 0;
  source->canSeek = false;
  strell::Strell& media = attach();
  source->tooMany = 1;
  EXPECT_EQ(readData(media, 100).status, strell::SOURCE_BROKEN);
  EXPECT_EQ(readCache(media, 1).status, strell::NOT_CACHED);
}

TEST_F(StrellBrokenSource, AfterTooManyBytesTheSourceIsMadeToGoBack) {
  strell::Strell& media = attach();
  source->tooMany = 1;
  readData(media, 100);
  source->tooMany = 0;
  EXPECT_EQ(readData(media, 100).status, 0);
  EXPECT_EQ(source->seeks, 1);
  source->tooMany = 1;
  readData(media, 100);
  source->tooMany = 0;
  source->seekStatus = -29;  // cannot go back: its position is lost for good
  EXPECT_EQ(readData(media, 100).status, -29);
}

TEST_F(StrellBrokenSource, PositiveFailuresBecomeNegative) {
  strell::Strell& media = attach();
  source->seekStatus = 1;
  EXPECT_EQ(media.seek(10), strell::SOURCE_BROKEN);
  EXPECT_EQ(tell(media), 0);
  source->sizeStatus = INT_MAX;
  long long size = -7;
  EXPECT_EQ(media.size(size), strell::SOURCE_BROKEN);
  EXPECT_EQ(size, -7);
  source->seekableStatus = 1;
  bool seekable = false;
  EXPECT_EQ(media.getSeekable(seekable), strell::SOURCE_BROKEN);
  EXPECT_FALSE(seekable);
  source->headerStatus = 1;
  std::deque<std::string> lines{"kept"};
  EXPECT_EQ(media.getHeaderList(lines), strell::SOURCE_BROKEN);
  EXPECT_EQ(lines.front(), "kept");
}

TEST_F(StrellBrokenSource, ANegativeSizeIsNotBelieved) {
  strell::Strell& media = attach();
  source->declared = -1;
  long long size = -7;
  EXPECT_EQ(media.size(size), strell::SOURCE_BROKEN);
  EXPECT_EQ(size, -7);
  EXPECT_EQ(media.seek(0), strell::NOT_SEEKABLE);
}

TEST_F(StrellBrokenSource, ASeekableAnswerOfAFailedCallIsNotBelieved) {
  source->seekableStatus = -1;
  strell::Strell& media = attach();
  EXPECT_EQ(media.seek(0), strell::NOT_SEEKABLE);
  EXPECT_EQ(readCache(media, 1048576).status, 0);
}

TEST_F(StrellBrokenSource, ANegativePositionIsNotBelieved) {
  source->position = LLONG_MIN;
  strell::Strell& media = attach();
  EXPECT_EQ(readData(media, 10).bytes, Bytes(10, 'x'));
  EXPECT_EQ(source->seeks, 1);
}

}  // namespace
}  // namespace quorin_test
