// The life of a Strell: before, at and after attaching; and what it asks its source for.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>

#include "strell_support.h"
#include "support/bytes.h"

namespace quorin_test {
namespace {

using Lines = std::deque<std::string>;

SourceScript script(size_t size, bool seekable = true) {
  SourceScript script;
  script.bytes = testBytes(size);
  script.seekable = seekable;
  return script;
}

TEST(StrellAttach, BeforeItEveryOperationFailsAndTouchesNothing) {
  strell::Strell media;
  long long number = -7;
  bool seekable = true;
  Lines lines{"kept"};
  EXPECT_EQ(readCache(media, 0).status, strell::NOT_ATTACHED);
  EXPECT_EQ(readCache(media, 1).status, strell::NOT_ATTACHED);
  EXPECT_EQ(media.setDataCacheOffset(0), strell::NOT_ATTACHED);
  EXPECT_EQ(media.getDataCacheOffset(), 0U);
  EXPECT_EQ(readData(media, 0).status, strell::NOT_ATTACHED);
  EXPECT_EQ(readData(media, 1).status, strell::NOT_ATTACHED);
  EXPECT_EQ(media.tell(number), strell::NOT_ATTACHED);
  EXPECT_EQ(media.seek(0), strell::NOT_ATTACHED);
  EXPECT_EQ(media.size(number), strell::NOT_ATTACHED);
  EXPECT_EQ(media.getSeekable(seekable), strell::NOT_ATTACHED);
  EXPECT_EQ(media.getHeaderList(lines), strell::NOT_ATTACHED);
  EXPECT_EQ(number, -7);
  EXPECT_TRUE(seekable);
  EXPECT_EQ(lines, Lines{"kept"});
  unsigned int atHand = 7;
  EXPECT_EQ(media.peekDataCache(atHand), nullptr);
  EXPECT_EQ(atHand, 0U);
  EXPECT_EQ(media.cost().bytes, 0U);
  EXPECT_EQ(media.cost().reads, 0U);
  EXPECT_EQ(media.cost().requests, 0U);
}

TEST(StrellAttach, AnEmptyPointerFails) {
  strell::Strell media;
  EXPECT_EQ(media.attach(boost::shared_ptr<MdchUrlBase>()), strell::NO_SOURCE);
  EXPECT_EQ(media.seek(0), strell::NOT_ATTACHED);
}

TEST(StrellAttach, AnEmptyPointerLeavesTheSourceInPlace) {
  const SourceScript bytes = script(100);
  Attached attached(bytes);
  ASSERT_EQ(readData(attached.media, 10).status, 0);
  EXPECT_EQ(attached.media.attach(boost::shared_ptr<MdchUrlBase>()), strell::NO_SOURCE);
  EXPECT_EQ(readData(attached.media, 10).bytes, slice(bytes.bytes, 10, 10));
}

TEST(StrellAttach, TheSourceIsReleasedByTheNextAttachAndByDestruction) {
  boost::weak_ptr<MdchUrlBase> first;
  boost::weak_ptr<MdchUrlBase> second;
  {
    strell::Strell media;
    auto source = boost::make_shared<ScriptedSource>(script(10));
    first = source;
    media.attach(source);
    source = boost::make_shared<ScriptedSource>(script(10));
    EXPECT_FALSE(first.expired());
    second = source;
    media.attach(source);
    EXPECT_TRUE(first.expired());
    source.reset();
    EXPECT_FALSE(second.expired());
  }
  EXPECT_TRUE(second.expired());
}

TEST(StrellAttach, ASeekableSourceThatWasReadStartsOver) {
  const SourceScript bytes = script(1000);
  Attached attached(bytes);
  ASSERT_EQ(readData(attached.media, 100).status, 0);
  ASSERT_EQ(attached.media.attach(attached.source), 0);
  EXPECT_EQ(readData(attached.media, 1000).bytes, bytes.bytes);
  EXPECT_EQ(readCacheAt(attached.media, 0, 1000).bytes, bytes.bytes);
}

TEST(StrellAttach, ASourceThatCannotSeekIsPlayedFromWhereItStands) {
  const SourceScript bytes = script(1000, false);
  Attached attached(bytes);
  ASSERT_EQ(readData(attached.media, 100).status, 0);
  ASSERT_EQ(attached.media.attach(attached.source), 0);
  EXPECT_EQ(readCacheAt(attached.media, 0, 900).bytes, slice(bytes.bytes, 100, 900));
  EXPECT_EQ(readData(attached.media, 1000).bytes, slice(bytes.bytes, 100, 900));
}

TEST(StrellAttach, FailuresOfSizeAndSeekableAreThoseOfTheSource) {
  SourceScript failing = script(10);
  failing.sizeFault = -70;
  failing.seekableFault = -71;
  failing.tellFault = -72;
  Attached attached(failing);
  long long size = -7;
  bool seekable = true;
  EXPECT_EQ(attached.media.size(size), -70);
  EXPECT_EQ(attached.media.getSeekable(seekable), -71);
  EXPECT_EQ(size, -7);
  EXPECT_TRUE(seekable);
  EXPECT_EQ(tell(attached.media), 0);
  EXPECT_EQ(readData(attached.media, 10).bytes, failing.bytes);
}

TEST(StrellAttach, ASourceThatCannotTellItsPositionIsTakenToStandAtTheStart) {
  SourceScript failing = script(10);
  failing.tellFault = -72;
  Attached attached(failing);
  EXPECT_EQ(readData(attached.media, 10).bytes, failing.bytes);
  EXPECT_EQ(attached.source->calls.seeks, 0);
}

TEST(StrellAttach, TheCostIsThatOfTheSource) {
  Attached attached(script(10000));
  ASSERT_EQ(readCache(attached.media, 10).status, 0);
  EXPECT_EQ(attached.media.cost().bytes, 4096U);
  EXPECT_EQ(attached.media.cost().reads, 1U);
}

TEST(StrellAttach, OnlyAnHttpSourceHasHeaderLines) {
  Attached attached(script(10));
  Lines lines{"kept"};
  EXPECT_EQ(attached.media.getHeaderList(lines), strell::NO_HEADER);
  EXPECT_EQ(lines, Lines{"kept"});
}

TEST(StrellAttach, HeaderLinesReplaceTheList) {
  const Lines header{"HTTP/1.1 200 OK\r\n", "Content-Type: audio/mpeg\r\n", "\r\n"};
  strell::Strell media;
  media.attach(boost::make_shared<ScriptedHttpSource>(script(10), header));
  Lines lines{"gone"};
  EXPECT_EQ(media.getHeaderList(lines), 0);
  EXPECT_EQ(lines, header);
}

TEST(StrellAttach, AFailedHeaderLeavesTheListAndMeansNoMetadata) {
  const SourceScript bytes = script(100);
  strell::Strell media;
  ASSERT_EQ(media.attach(boost::make_shared<ScriptedHttpSource>(bytes, Lines{"icy-metaint: 10\r\n"}, -73)), 0);
  Lines lines{"kept"};
  EXPECT_EQ(media.getHeaderList(lines), -73);
  EXPECT_EQ(lines, Lines{"kept"});
  EXPECT_EQ(readData(media, 100).bytes, bytes.bytes);
}

}  // namespace
}  // namespace quorin_test
