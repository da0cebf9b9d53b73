#include "item/source_watch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/make_shared.hpp>

namespace quorin_command {
namespace {

using Spans = std::vector<Span>;

constexpr long long itemSize = 100;
constexpr long long brokenByte = 50;

/// An item of which a read delivers 10 bytes at most, and with which one byte cannot be read.
class Source : public MdchUrlBase {
 public:
  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override {
    const long long stop = position_ <= brokenByte ? brokenByte : itemSize;
    bytesRead = static_cast<unsigned int>(std::min<long long>({length, 10, std::max(stop - position_, 0LL)}));
    std::fill_n(buffer, bytesRead, static_cast<unsigned char>('x'));
    position_ += bytesRead;
    return position_ == brokenByte ? -5 : 0;
  }
  int seek(long long offset) override {
    if (offset < 0) {
      return -22;
    }
    position_ = offset;
    return 0;
  }
  int tell(long long& offset) override {
    offset = position_;
    return 0;
  }
  int size(long long& bytes) override {
    bytes = itemSize;
    return 0;
  }
  int getSeekable(bool& seekable) override {
    seekable = true;
    return 0;
  }

 private:
  long long position_ = 0;
};

class SourceWatch : public testing::Test {
 protected:
  SourceWatch() {
    md::registerUrlScheme("file", [](const std::string&, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
      url = boost::make_shared<Source>();
      return 0;
    });
    watchSources();
    forgetSightings();
    EXPECT_EQ(mdch_OpenUrl("file:x", 0, MdchOpenParams(), source_), 0);
  }
  ~SourceWatch() override {
    for (const char* scheme : {"", "file", "vdr2", "http", "https"}) {
      md::registerUrlScheme(scheme, {});
    }
  }

  void read(unsigned int length) {
    unsigned char buffer[itemSize];
    unsigned int got = 0;
    source_->read(buffer, length, got);
  }

  boost::shared_ptr<MdchUrlBase> source_;
};

TEST_F(SourceWatch, RemembersWhatWasReadWhere) {
  read(4);
  EXPECT_EQ(source_->seek(60), 0);
  read(3);
  EXPECT_EQ(sighting().read, (Spans{{0, 4}, {60, 63}}));
}

TEST_F(SourceWatch, CountsWhatIsDeliveredAndNotWhatIsAskedFor) {
  read(100);
  EXPECT_EQ(sighting().read, (Spans{{0, 10}}));
  source_->seek(95);
  read(10);
  EXPECT_EQ(sighting().read, (Spans{{0, 10}, {95, 100}}));
}

TEST_F(SourceWatch, TakesReadsInARowAsOne) {
  for (int i = 0; i < 4; ++i) {
    read(10);
  }
  EXPECT_EQ(sighting().read, (Spans{{0, 40}}));
}

TEST_F(SourceWatch, StaysInPlaceWhenASeekFails) {
  read(4);
  EXPECT_EQ(source_->seek(-1), -22);
  read(2);
  EXPECT_EQ(sighting().read, (Spans{{0, 6}}));
}

TEST_F(SourceWatch, CountsTheBytesInFrontOfAFailure) {
  source_->seek(45);
  read(10);
  EXPECT_EQ(sighting().read, (Spans{{45, 50}}));
  EXPECT_EQ(sighting().readFailure, -5);
}

TEST_F(SourceWatch, ForgetsWhenItIsTold) {
  read(4);
  forgetSightings();
  EXPECT_EQ(sighting().read, Spans());
}

}  // namespace
}  // namespace quorin_command
