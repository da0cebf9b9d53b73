#include "tcnv.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

/// A destination of `length` bytes with guard bytes around it.
class Destination {
 public:
  explicit Destination(int length) : length_(length), bytes_(static_cast<size_t>(std::max(length, 0)) + 16, '\x5A') {}

  char* data() { return bytes_.data() + 8; }
  int length() const { return length_; }

  /// What was written; fails the test when `result` is not its length or a guard byte changed.
  std::string text(int result) {
    const size_t room = static_cast<size_t>(std::max(length_, 0));
    EXPECT_EQ(bytes_.substr(0, 8), std::string(8, '\x5A'));
    EXPECT_EQ(bytes_.substr(8 + room), std::string(8, '\x5A'));
    if (room == 0) {
      EXPECT_EQ(result, 0);
      return std::string();
    }
    const std::string written(data());
    EXPECT_EQ(static_cast<size_t>(result), written.size());
    return written;
  }

 private:
  const int length_;
  std::string bytes_;
};

const unsigned char* bytesOf(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

std::string isoToUtf8(const std::string& source, int room = 100) {
  Destination dest(room);
  return dest.text(tcnv_isoToUtf8(1, dest.data(), room, bytesOf(source), static_cast<int>(source.size())));
}

std::string copy(const std::string& source, int room = 100) {
  Destination dest(room);
  return dest.text(tcnv_strlcpy(dest.data(), room, bytesOf(source), static_cast<int>(source.size())));
}

/// Converts the units in both byte orders, which must agree.
std::string utf16ToUtf8(const std::u16string& units, int room = 100) {
  std::string big(1, '?');  // starts at an odd address
  std::string little(1, '?');
  for (const char16_t unit : units) {
    big += static_cast<char>(unit >> 8);
    big += static_cast<char>(unit & 0xFF);
    little += static_cast<char>(unit & 0xFF);
    little += static_cast<char>(unit >> 8);
  }
  const int count = static_cast<int>(units.size());
  Destination first(room);
  Destination second(room);
  const std::string text = first.text(tcnvUtf8EncodeNotAlignedText(first.data(), room, bytesOf(big) + 1, count));
  EXPECT_EQ(second.text(tcnvUtf8EncodeNotAlignedInverseText(second.data(), room, bytesOf(little) + 1, count)), text);
  return text;
}

TEST(Tcnv, Iso88591BecomesUtf8) {
  EXPECT_EQ(isoToUtf8("plain"), "plain");
  EXPECT_EQ(isoToUtf8("\xE4\xF6\xFC\xDF"), "\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F");
  EXPECT_EQ(isoToUtf8("\x7F\x80\xA0\xFF"), "\x7F\xC2\x80\xC2\xA0\xC3\xBF");
  EXPECT_EQ(isoToUtf8(""), "");
}

TEST(Tcnv, Utf16BecomesUtf8InBothByteOrders) {
  EXPECT_EQ(utf16ToUtf8(u"plain"), "plain");
  EXPECT_EQ(utf16ToUtf8(u"\u007F\u0080\u07FF\u0800\uFFFF"), "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
  EXPECT_EQ(utf16ToUtf8(u"\uD7FF\uE000\uFEFF"), "\xED\x9F\xBF\xEE\x80\x80\xEF\xBB\xBF");
  EXPECT_EQ(utf16ToUtf8(u"\U00010000\U0001F3B5\U0010FFFF"), "\xF0\x90\x80\x80\xF0\x9F\x8E\xB5\xF4\x8F\xBF\xBF");
}

TEST(Tcnv, LoneSurrogatesBecomeTheReplacementCharacter) {
  const std::string replaced = "\xEF\xBF\xBD";
  EXPECT_EQ(utf16ToUtf8({0xD800}), replaced);
  EXPECT_EQ(utf16ToUtf8({0xDFFF}), replaced);
  EXPECT_EQ(utf16ToUtf8({0xDBFF, 'a'}), replaced + "a");
  EXPECT_EQ(utf16ToUtf8({0xDC00, 0xD800}), replaced + replaced);
  EXPECT_EQ(utf16ToUtf8({0xD800, 0xD83C, 0xDFB5}), replaced + "\xF0\x9F\x8E\xB5");
  EXPECT_EQ(utf16ToUtf8({0xD83C, 0, 'a'}), replaced) << "the NUL behind it still ends the text";
}

TEST(Tcnv, CopyKeepsBytesThatAreNoUtf8) {
  EXPECT_EQ(copy("a\xC3\xA4z"), "a\xC3\xA4z");
  EXPECT_EQ(copy("\x80\xFF\xC3(\xE2\x82"), "\x80\xFF\xC3(\xE2\x82");
  EXPECT_EQ(copy("\xF8\x88\x80\x80\x80"), "\xF8\x88\x80\x80\x80");
}

TEST(Tcnv, ANulInTheSourceEndsTheText) {
  EXPECT_EQ(isoToUtf8("ab\0c"s), "ab");
  EXPECT_EQ(utf16ToUtf8(u"ab\0c"s), "ab");
  EXPECT_EQ(utf16ToUtf8(u"a\u0100"), "a\xC4\x80") << "one zero byte is no NUL";
  EXPECT_EQ(copy("ab\0c"s), "ab");
  EXPECT_EQ(copy("\xE2\x82\0\xAC"s), "\xE2\x82");
}

TEST(Tcnv, NoSequenceIsSplitAtTheEndOfTheDestination) {
  for (int room = 1; room <= 12; ++room) {
    const auto whole = [room](size_t sequence) {  // bytes of as many sequences as fit
      return static_cast<size_t>(room - 1) / sequence * sequence;
    };
    EXPECT_EQ(isoToUtf8("\xE4\xE4\xE4\xE4", room), "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"s.substr(0, whole(2)));
    EXPECT_EQ(utf16ToUtf8(u"\u20AC\u20AC\u20AC", room), "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC"s.substr(0, whole(3)));
    EXPECT_EQ(copy("\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC", room),
              "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC"s.substr(0, whole(3)));
    EXPECT_EQ(utf16ToUtf8(u"\U0001F3B5\U0001F3B5", room),
              "\xF0\x9F\x8E\xB5\xF0\x9F\x8E\xB5"s.substr(0, std::min<size_t>(whole(4), 8)));
    EXPECT_EQ(copy("\xF0\x9F\x8E\xB5\xF0\x9F\x8E\xB5", room),
              "\xF0\x9F\x8E\xB5\xF0\x9F\x8E\xB5"s.substr(0, std::min<size_t>(whole(4), 8)));
    EXPECT_EQ(copy("\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4", room), "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"s.substr(0, whole(2)));
  }
}

TEST(Tcnv, NothingShorterSlipsInBehindWhatDidNotFit) {
  EXPECT_EQ(isoToUtf8("a\xE4z", 3), "a");
  EXPECT_EQ(utf16ToUtf8(u"a\u20ACz", 4), "a");
  EXPECT_EQ(copy("a\xE2\x82\xACz", 4), "a");
}

TEST(Tcnv, WithoutRoomForTheTerminatorNothingIsWritten) {
  for (const int room : {0, -1, -2147483647 - 1}) {
    EXPECT_EQ(isoToUtf8("abc", room), "");
    EXPECT_EQ(utf16ToUtf8(u"abc", room), "");
    EXPECT_EQ(copy("abc", room), "");
  }
  EXPECT_EQ(tcnv_isoToUtf8(1, nullptr, 10, bytesOf("abc"), 3), 0);
  EXPECT_EQ(tcnv_strlcpy(nullptr, 10, bytesOf("abc"), 3), 0);
}

TEST(Tcnv, WithoutASourceTheTextIsEmpty) {
  using Convert = std::function<int(char*, int, const unsigned char*, int)>;
  const Convert all[] = {[](char* dest, int length, const unsigned char* source, int count) {
                           return tcnv_isoToUtf8(0, dest, length, source, count);
                         },
                         tcnvUtf8EncodeNotAlignedText, tcnvUtf8EncodeNotAlignedInverseText, tcnv_strlcpy};
  for (const Convert& convert : all) {
    for (const int count : {0, -1, -2147483647 - 1}) {
      Destination dest(4);
      EXPECT_EQ(dest.text(convert(dest.data(), 4, bytesOf("abcdef"), count)), "");
    }
    Destination dest(4);
    EXPECT_EQ(dest.text(convert(dest.data(), 4, nullptr, 2)), "");
  }
}

}  // namespace
