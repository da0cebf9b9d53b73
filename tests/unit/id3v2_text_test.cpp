// Text fields of ID3v2 tags.

#include <gtest/gtest.h>

#include <cstring>

#include "formats/analyzer_audio_mp3.h"
#include "support/bytes.h"
#include "support/log_capture.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

std::string utf8Of(const Bytes& field) {
  char destination[64];
  std::memset(destination, 'x', sizeof destination);
  AnalyzerAudioMp3::getStringAsUtf8(destination, sizeof destination, field.data(), static_cast<int>(field.size()));
  return std::string(destination, strnlen(destination, sizeof destination));
}

TEST(Id3v2Text, Iso8859) { EXPECT_EQ(utf8Of({0, 'A', 0xe9}), "A\xc3\xa9"); }

TEST(Id3v2Text, AFirstByteAbove31IsTextWithoutEncoding) {
  EXPECT_EQ(utf8Of({32, 'A', 0xe9}), " A\xc3\xa9");
  EXPECT_EQ(utf8Of({0xe9, 'A'}),
            "\xc3\xa9"
            "A");
}

TEST(Id3v2Text, ALoneByteIsTextWithoutEncoding) {
  EXPECT_EQ(utf8Of({'A'}), "A");
  EXPECT_EQ(utf8Of({3}), "\x03");
}

TEST(Id3v2Text, Utf16FollowsItsByteOrderMark) {
  for (const unsigned char encoding : Bytes{1, 2}) {
    EXPECT_EQ(utf8Of({encoding, 0xfe, 0xff, 0x00, 'A', 0x20, 0xac}), "A\xe2\x82\xac");
    EXPECT_EQ(utf8Of({encoding, 0xff, 0xfe, 'A', 0x00, 0xac, 0x20}), "A\xe2\x82\xac");
  }
}

TEST(Id3v2Text, Utf16WithoutByteOrderMarkGoesByTheEncoding) {
  EXPECT_EQ(utf8Of({1, 'A', 0x00, 0xac, 0x20}), "A\xe2\x82\xac");
  EXPECT_EQ(utf8Of({2, 0x00, 'A', 0x20, 0xac}), "A\xe2\x82\xac");
}

TEST(Id3v2Text, Utf16DropsAnOddByteAtTheEnd) {
  EXPECT_EQ(utf8Of({2, 0x00, 'A', 0x20}), "A");
  EXPECT_EQ(utf8Of({1, 0xff, 0xfe, 'A', 0x00, 'B'}), "A");
}

TEST(Id3v2Text, Utf16OfOneByteOrAMarkAloneIsEmpty) {
  for (const unsigned char encoding : Bytes{1, 2}) {
    EXPECT_EQ(utf8Of({encoding, 'A'}), "");
    EXPECT_EQ(utf8Of({encoding, 0xfe, 0xff}), "");
    EXPECT_EQ(utf8Of({encoding, 0xff, 0xfe}), "");
  }
}

TEST(Id3v2Text, Utf8IsCopied) {
  const LogCapture log;
  EXPECT_EQ(utf8Of({3, 'A', 0xc3, 0xa9}), "A\xc3\xa9");
  EXPECT_EQ(log.dump(), "");
}

TEST(Id3v2Text, UnknownEncodingsAreLoggedAndCopied) {
  for (unsigned char encoding = 4; encoding <= 31; ++encoding) {
    const LogCapture log;
    EXPECT_EQ(utf8Of({encoding, 'A', 'B'}), "AB");
    char line[80];
    std::snprintf(line, sizeof line, "4000 getStringAsUtf8(): unknown encoding 0x%02x, just copying...\n", encoding);
    EXPECT_EQ(log.dump(), line);
  }
}

TEST(Id3v2Text, ShortDestinationsAreFilledUpToTheTerminator) {
  char destination[3] = {'x', 'x', 'x'};
  const Bytes field = {3, 'A', 'B', 'C'};
  AnalyzerAudioMp3::getStringAsUtf8(destination, 3, field.data(), 4);
  EXPECT_STREQ(destination, "AB");
}

TEST(Id3v2Text, MissingArgumentsAreLoggedAndMakeAnEmptyString) {
  const Bytes field = {3, 'A'};
  char destination[4] = {'x', 'x', 'x', 'x'};
  LogCapture log;
  AnalyzerAudioMp3::getStringAsUtf8(nullptr, 4, field.data(), 2);
  EXPECT_EQ(log.dump(), "3000 getStringAsUtf8(): invalid dest given\n");
  log.clear();
  AnalyzerAudioMp3::getStringAsUtf8(destination, 0, field.data(), 2);
  EXPECT_EQ(log.dump(), "3000 getStringAsUtf8(): invalid destLen given\n");
  EXPECT_EQ(destination[0], '\0');
  destination[0] = 'x';
  log.clear();
  AnalyzerAudioMp3::getStringAsUtf8(destination, 4, nullptr, 2);
  EXPECT_EQ(log.dump(), "3000 getStringAsUtf8(): invalid src given\n");
  EXPECT_EQ(destination[0], '\0');
  destination[0] = 'x';
  log.clear();
  AnalyzerAudioMp3::getStringAsUtf8(destination, 4, field.data(), 0);
  EXPECT_EQ(log.dump(), "3000 getStringAsUtf8(): invalid len given\n");
  EXPECT_EQ(destination[0], '\0');
  EXPECT_EQ(destination[1], 'x');
}

}  // namespace
}  // namespace zu::md::common::quorin
