// ICY metadata where its place matters; that it never disturbs audio is part of the contract suite.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "strell_support.h"
#include "support/bytes.h"
#include "support/icy_stream.h"

namespace quorin_test {
namespace {

using Blocks = std::vector<Icy>;

SourceScript radio(const Bytes& audio, unsigned int metaint, const std::vector<std::string>& texts) {
  SourceScript script;
  script.seekable = false;
  script.sizeKnown = false;
  script.bytes = icyStream(audio, metaint, texts);
  return script;
}

TEST(StrellIcy, ABlockIsTakenFromTheSourceOnlyWithTheByteBehindIt) {
  const Bytes audio = testBytes(200);
  Attached attached(radio(audio, 100, {"title"}), 100);
  const DataRead before = readData(attached.media, 100);
  EXPECT_EQ(before.bytes, slice(audio, 0, 100));
  EXPECT_EQ(before.icy, Blocks());
  EXPECT_EQ(attached.source->calls.bytes, 100U);
  const DataRead behind = readData(attached.media, 1);
  EXPECT_EQ(behind.bytes, slice(audio, 100, 1));
  EXPECT_EQ(behind.icy, (Blocks{{100, "title"}}));
  EXPECT_EQ(attached.source->calls.bytes, 100U + 17U + 1U);
}

TEST(StrellIcy, BlocksThatTheCacheMetAreHandedOutByTheReadThatPassesThemAndOnce) {
  const Bytes audio = testBytes(400);
  Attached attached(radio(audio, 100, {"one", "", "three"}), 100);
  ASSERT_EQ(readCache(attached.media, 400).status, 0);
  EXPECT_EQ(readData(attached.media, 100).icy, Blocks());
  EXPECT_EQ(readData(attached.media, 200).icy, (Blocks{{100, "one"}}));
  EXPECT_EQ(readData(attached.media, 0).icy, Blocks());
  EXPECT_EQ(readData(attached.media, 10).icy, (Blocks{{300, "three"}}));
  EXPECT_EQ(readData(attached.media, 90).icy, Blocks());
}

TEST(StrellIcy, OneReadHandsOutManyBlocksInOrder) {
  const Bytes audio = testBytes(5);
  Attached attached(radio(audio, 1, {"a", "b", "", "d"}), 1);
  const DataRead read = readData(attached.media, 5);
  EXPECT_EQ(read.bytes, audio);
  EXPECT_EQ(read.icy, (Blocks{{1, "a"}, {2, "b"}, {4, "d"}}));
}

TEST(StrellIcy, ABlockAtTheEndIsHandedOutByTheReadThatMeetsTheEnd) {
  const Bytes audio = testBytes(100);
  {
    Attached attached(radio(audio, 100, {"last"}), 100);
    const DataRead read = readData(attached.media, 101);
    EXPECT_EQ(read.status, 0);
    EXPECT_EQ(read.bytes, audio);
    EXPECT_EQ(read.icy, (Blocks{{100, "last"}}));
    EXPECT_EQ(readData(attached.media, 1).icy, Blocks());
  }
  {
    Attached attached(radio(audio, 100, {"last"}), 100);
    EXPECT_EQ(readData(attached.media, 100).icy, Blocks());
    const DataRead end = readData(attached.media, 1);
    EXPECT_EQ(end.status, strell::END_OF_STREAM);
    EXPECT_EQ(end.icy, (Blocks{{100, "last"}}));
  }
}

TEST(StrellIcy, AStreamThatEndsInsideABlockEndsThere) {
  const Bytes audio = testBytes(100);
  const SourceScript whole = radio(audio, 100, {"last"});
  for (size_t length = 100; length < whole.bytes.size(); ++length) {
    for (const unsigned int maxRead : {0U, 1U, 7U}) {
      SourceScript cut = whole;
      cut.bytes.resize(length);
      cut.maxRead = maxRead;
      Attached attached(cut, 100);
      EXPECT_EQ(readCache(attached.media, 101).status, strell::NOT_CACHED);
      EXPECT_EQ(attached.media.setDataCacheOffset(100), 0);
      const DataRead read = readData(attached.media, 200);
      EXPECT_EQ(read.status, 0);
      EXPECT_EQ(read.bytes, audio);
      EXPECT_EQ(read.icy, Blocks());
      EXPECT_EQ(readData(attached.media, 1).status, strell::END_OF_STREAM);
    }
  }
}

TEST(StrellIcy, AFailureInsideABlockIsReportedAndTheBlockGoesOnBehindIt) {
  const Bytes audio = testBytes(200);
  SourceScript failing = radio(audio, 100, {"a longer title of two units"});
  for (unsigned int inside = 0; inside <= 33; ++inside) {
    failing.failingOffset = 100 + inside;
    Attached attached(failing, 100);
    const DataRead read = readData(attached.media, 200);
    EXPECT_EQ(read.status, -5);
    EXPECT_EQ(read.bytes, slice(audio, 0, 100));
    attached.source->script.failingOffset = -1;
    const DataRead rest = readData(attached.media, 200);
    EXPECT_EQ(rest.bytes, slice(audio, 100, 100));
    EXPECT_EQ(read.icy.size() + rest.icy.size(), 1U) << inside;
  }
}

TEST(StrellIcy, AFillIsOneReadWhereMetadataTakesNoRoom) {
  Attached attached(radio(testBytes(50000), 16000, {}), 16000);
  ASSERT_EQ(readCache(attached.media, 10).status, 0);
  ASSERT_EQ(readCache(attached.media, 20000).status, 0);
  EXPECT_EQ(attached.source->calls.readLengths, (std::vector<unsigned int>{4096, 24576 - 4096}));
}

TEST(StrellIcy, SuchAStreamCannotSeekThoughItsSourceCan) {
  SourceScript seekable = radio(testBytes(1000), 100, {});
  seekable.seekable = true;
  seekable.sizeKnown = true;
  Attached attached(seekable, 100);
  EXPECT_EQ(attached.media.seek(0), strell::NOT_SEEKABLE);
  EXPECT_EQ(attached.source->calls.seeks, 0);
  bool told = false;
  EXPECT_EQ(attached.media.getSeekable(told), 0);
  EXPECT_TRUE(told);
  long long size = 0;
  EXPECT_EQ(attached.media.size(size), 0);
  EXPECT_EQ(size, 1010);
}

TEST(StrellIcy, ASeekableSourceThatWasReadStartsOverWithItsMetadata) {
  const Bytes audio = testBytes(1000);
  SourceScript seekable = radio(audio, 100, {"title"});
  seekable.seekable = true;
  const auto source = boost::make_shared<ScriptedHttpSource>(seekable, std::deque<std::string>{"icy-metaint:100"});
  strell::Strell media;
  ASSERT_EQ(media.attach(source), 0);
  readData(media, 550);
  ASSERT_EQ(media.attach(source), 0);
  const DataRead again = readData(media, 1000);
  EXPECT_EQ(again.bytes, audio);
  EXPECT_EQ(again.icy, (Blocks{{100, "title"}}));
}

/// A station that sends a block of the largest size behind every byte, without an end.
class FloodingSource : public md::HttpAccess {
 public:
  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override {
    for (unsigned int i = 0; i < length; ++i) {
      buffer[i] = position_ == 1 ? 255 : 'x';
      position_ = (position_ + 1) % (1 + 1 + 4080);
    }
    bytesRead = length;
    return 0;
  }
  int seek(long long) override { return -29; }
  int tell(long long&) override { return -29; }
  int size(long long&) override { return -38; }
  int getSeekable(bool& seekable) override {
    seekable = false;
    return 0;
  }
  int getHeaderList(std::deque<std::string>& lines) override {
    lines = {"ICY 200 OK\r\n", "icy-metaint:1\r\n"};
    return 0;
  }

 private:
  unsigned int position_ = 0;
};

TEST(StrellIcy, AFloodOfBlocksIsKeptOnlyAsFarAsItsMemoryGoes) {
  strell::Strell media;
  ASSERT_EQ(media.attach(boost::make_shared<FloodingSource>()), 0);
  ASSERT_EQ(media.setDataCacheOffset(4096), 0);
  const DataRead read = readData(media, 4096);
  EXPECT_EQ(read.bytes, Bytes(4096, 'x'));
  constexpr size_t room = size_t{256} * 1024;
  EXPECT_LE(read.icy.size(), room / 4080);
  EXPECT_GE(read.icy.size(), room / 4080 - 4) << "what a block costs beside its text is little";
  EXPECT_EQ(read.icy.front(), Icy(1, std::string(4080, 'x')));
}

}  // namespace
}  // namespace quorin_test
