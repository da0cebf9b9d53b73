#include "formats/id3v2.h"

#include <gtest/gtest.h>

#include "quorin/analyzer.h"
#include "support/id3_bytes.h"
#include "support/log_capture.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr unsigned untouched = 7777;

struct TagHeader {
  int found;
  unsigned tagLength = untouched;
  unsigned footerSize = untouched;
};

TagHeader tagHeader(const Bytes& bytes) {
  TagHeader header;
  header.found = Analyzer::isID3v2Header(bytes.data(), header.tagLength, header.footerSize);
  return header;
}

void expectNoTag(const Bytes& bytes) {
  const TagHeader header = tagHeader(bytes);
  EXPECT_EQ(header.found, 0);
  EXPECT_EQ(header.tagLength, untouched);
  EXPECT_EQ(header.footerSize, untouched);
}

unsigned decode(const Bytes& bytes) {
  unsigned result = untouched;
  Analyzer::decodeSyncSafeInteger(&result, bytes.data(), static_cast<unsigned char>(bytes.size()));
  return result;
}

TEST(Id3v2TagHeader, LengthCountsTheHeader) {
  const TagHeader header = tagHeader({'I', 'D', '3', 3, 0, 0, 0, 0, 2, 1});
  EXPECT_EQ(header.found, 1);
  EXPECT_EQ(header.tagLength, 267U);
  EXPECT_EQ(header.footerSize, 0U);
}

TEST(Id3v2TagHeader, LengthCountsTheFooter) {
  const TagHeader header = tagHeader({'I', 'D', '3', 4, 0, 0x10, 0, 0, 2, 1});
  EXPECT_EQ(header.tagLength, 277U);
  EXPECT_EQ(header.footerSize, 10U);
}

TEST(Id3v2TagHeader, LargestSizeIsTaken) {
  const TagHeader header = tagHeader({'I', 'D', '3', 0xfe, 0xfe, 0xff, 0x7f, 0x7f, 0x7f, 0x7f});
  EXPECT_EQ(header.found, 1);
  EXPECT_EQ(header.tagLength, 0x0fffffffU + 20);
}

TEST(Id3v2TagHeader, OtherBytesAreNoTagAndLogNothing) {
  const LogCapture log;
  for (size_t i = 0; i < 3; ++i) {
    Bytes bytes = {'I', 'D', '3', 3, 0, 0, 0, 0, 2, 1};
    bytes[i] ^= 0x20;
    expectNoTag(bytes);
  }
  EXPECT_EQ(log.dump(), "");
}

TEST(Id3v2TagHeader, AVersionByteOf0xFFIsNoTag) {
  expectNoTag({'I', 'D', '3', 0xff, 0, 0, 0, 0, 2, 1});
  expectNoTag({'I', 'D', '3', 3, 0xff, 0, 0, 0, 2, 1});
}

TEST(Id3v2TagHeader, ASizeByteOf0x80IsNoTag) {
  for (size_t i = 6; i < 10; ++i) {
    Bytes bytes = {'I', 'D', '3', 3, 0, 0, 0, 0, 2, 1};
    bytes[i] = 0x80;
    expectNoTag(bytes);
  }
}

TEST(Id3v2TagHeader, AFoundTagIsLogged) {
  const LogCapture log;
  tagHeader({'I', 'D', '3', 4, 0, 0x10, 0, 0, 2, 1});
  EXPECT_EQ(log.dump(),
            "5000 AnalyzerAudioMp3::decodeSyncSafeInteger()\n"
            "4000 AnalyzerAudioMp3::isID3v2Header() found ID3v2 tag. headerSize: 10, tagSize: 257, footerSize: 10 "
            "tagLength: 277\n");
}

TEST(Id3v2TagHeader, NullIsLoggedAndNoTag) {
  const LogCapture log;
  unsigned tagLength = untouched;
  unsigned footerSize = untouched;
  EXPECT_EQ(Analyzer::isID3v2Header(nullptr, tagLength, footerSize), 0);
  EXPECT_EQ(tagLength, untouched);
  EXPECT_EQ(log.dump(), "3000 AnalyzerAudioMp3::isID3v2Header() Argument buffer==NULL!\n");
}

TEST(SyncSafeInteger, SevenBitsPerByteWhenEveryByteIsBelow0x80) {
  EXPECT_EQ(decode({0, 0, 2, 1}), 257U);
  EXPECT_EQ(decode({0x7f, 0x7f, 0x7f, 0x7f}), 0x0fffffffU);
  EXPECT_EQ(decode({1, 0, 0}), 1U << 14);
  EXPECT_EQ(decode({0x7f, 0x7f, 0x7f}), 0x1fffffU);
}

TEST(SyncSafeInteger, PlainNumberWhenAnyByteIsAbove0x7F) {
  EXPECT_EQ(decode({0, 0, 0, 0xff}), 255U);
  EXPECT_EQ(decode({0xff, 0xff, 0xff, 0xff}), 0xffffffffU);
  EXPECT_EQ(decode({0x80, 0, 0, 1}), 0x80000001U);
  EXPECT_EQ(decode({1, 0, 0x80}), 0x10080U);
}

TEST(SyncSafeInteger, OtherLengthsStoreZero) {
  for (const size_t length : {0U, 1U, 2U, 5U, 255U}) {
    const Bytes bytes(length + 1, 1);
    unsigned result = untouched;
    const LogCapture log;
    Analyzer::decodeSyncSafeInteger(&result, bytes.data(), static_cast<unsigned char>(length));
    EXPECT_EQ(result, 0U);
    EXPECT_EQ(log.dump(),
              "5000 AnalyzerAudioMp3::decodeSyncSafeInteger()\n"
              "3000 decodeSyncSafeInteger(): invalid len " +
                  std::to_string(length) + "\n");
  }
}

TEST(SyncSafeInteger, NullIsLogged) {
  const Bytes bytes(4, 1);
  unsigned result = untouched;
  const char* const expected =
      "5000 AnalyzerAudioMp3::decodeSyncSafeInteger()\n"
      "3000 decodeSyncSafeInteger(): wrong params\n";
  LogCapture log;
  Analyzer::decodeSyncSafeInteger(nullptr, bytes.data(), 4);
  EXPECT_EQ(log.dump(), expected);
  log.clear();
  Analyzer::decodeSyncSafeInteger(&result, nullptr, 4);
  EXPECT_EQ(log.dump(), expected);
  EXPECT_EQ(result, untouched);
}

TEST(Id3v2FrameLayout, HeaderSizesFollowTheMajorVersion) {
  for (const unsigned major : {0U, 1U, 2U}) {
    EXPECT_EQ(Id3v2FrameLayout(major).headerSize(), 6U);
    EXPECT_EQ(Id3v2FrameLayout(major).identifierSize(), 3U);
  }
  for (const unsigned major : {3U, 4U, 5U, 0xfeU}) {
    EXPECT_EQ(Id3v2FrameLayout(major).headerSize(), 10U);
    EXPECT_EQ(Id3v2FrameLayout(major).identifierSize(), 4U);
  }
}

TEST(Id3v2FrameLayout, SizesBelowVersion4ArePlainAndLogNothing) {
  const LogCapture log;
  const Bytes shortFrame = {'P', 'I', 'C', 1, 2, 3};
  EXPECT_EQ(Id3v2FrameLayout(2).bodySize(shortFrame.data()), 0x010203U);
  const Bytes frame = {'A', 'P', 'I', 'C', 1, 2, 3, 4, 0, 0};
  EXPECT_EQ(Id3v2FrameLayout(3).bodySize(frame.data()), 0x01020304U);
  EXPECT_EQ(log.dump(), "");
}

TEST(Id3v2FrameLayout, SizesFromVersion4OnAreSyncSafeOrPlain) {
  const LogCapture log;
  const Bytes safe = {'A', 'P', 'I', 'C', 0, 0, 2, 1, 0, 0};
  const Bytes plain = {'A', 'P', 'I', 'C', 0, 0, 0, 0xff, 0, 0};
  EXPECT_EQ(Id3v2FrameLayout(4).bodySize(safe.data()), 257U);
  EXPECT_EQ(Id3v2FrameLayout(5).bodySize(plain.data()), 255U);
  EXPECT_EQ(log.count(5000, "AnalyzerAudioMp3::decodeSyncSafeInteger()\n"), 2);
}

TEST(Id3v2FrameLayout, IdentifiersAreComparedWhole) {
  const Bytes frame = {'3', 'D', 'I', 0, 0, 0, 0, 0, 0, 0};
  EXPECT_TRUE(Id3v2FrameLayout(2).isIdentifier(frame.data(), "3DI"));
  EXPECT_FALSE(Id3v2FrameLayout(3).isIdentifier(frame.data(), "3DI"));
  const Bytes picture = {'P', 'I', 'C', 'X', 0, 0, 0, 0, 0, 0};
  EXPECT_TRUE(Id3v2FrameLayout(2).isIdentifier(picture.data(), "PIC"));
  EXPECT_FALSE(Id3v2FrameLayout(3).isIdentifier(picture.data(), "PIC"));
  EXPECT_FALSE(Id3v2FrameLayout(2).isIdentifier(picture.data(), "PICX"));
}

}  // namespace
}  // namespace zu::md::common::quorin
