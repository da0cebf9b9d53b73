#include "output/display_text.h"

#include <gtest/gtest.h>

namespace quorin_command {
namespace {

TEST(DisplayText, OrdinaryNamesAreShownAsTheyAre) {
  for (const char* name : {"", "01 Opening.mp3", "Für Elise", "音楽.mp3", "a\u0308", "🎵", "back\\slash"}) {
    EXPECT_EQ(displayable(name, true), name);
  }
}

TEST(DisplayText, ControlCharactersAreEscaped) {
  EXPECT_EQ(displayable("a\033[2Jb", true), "a\\x1b[2Jb");
  EXPECT_EQ(displayable("a\nb\rc\td", true), "a\\nb\\rc\\td");
  EXPECT_EQ(displayable("\x7f", true), "\\x7f");
  EXPECT_EQ(displayable("\u009b2J", true), "\\u{9b}2J");
  EXPECT_EQ(displayable(std::string_view("a\0b", 3), true), "a\\x00b");
}

TEST(DisplayText, CharactersThatTurnTheWritingDirectionAreEscaped) {
  EXPECT_EQ(displayable("\u202egpj.exe", true), "\\u{202e}gpj.exe");
  EXPECT_EQ(displayable("\u2066x\u2069", true), "\\u{2066}x\\u{2069}");
  EXPECT_EQ(displayable("\u200f\u061c", true), "\\u{200f}\\u{61c}");
}

TEST(DisplayText, InvisibleCharactersAreEscaped) {
  EXPECT_EQ(displayable("a\u200bb\ufeff\u00ad", true), "a\\u{200b}b\\u{feff}\\u{ad}");
  EXPECT_EQ(displayable("a\u2028b", true), "a\\u{2028}b");
  EXPECT_EQ(displayable("\U000e0041", true), "\\u{e0041}");
}

TEST(DisplayText, BytesThatAreNoUtf8AreEscapedOneByOne) {
  EXPECT_EQ(displayable("caf\xe9.mp3", true), "caf\\xe9.mp3");
  EXPECT_EQ(displayable("\xed\xa0\x80", true), "\\xed\\xa0\\x80");  // a surrogate
  EXPECT_EQ(displayable("\xc0\xaf", true), "\\xc0\\xaf");           // overlong
  EXPECT_EQ(displayable("x\xe3\x81", true), "x\\xe3\\x81");         // cut off
}

TEST(DisplayText, WithoutUtf8EveryCharacterBeyondAsciiIsEscaped) {
  EXPECT_EQ(displayable("Für 音", false), "F\\u{fc}r \\u{97f3}");
}

TEST(DisplayText, WideCharactersCountTwiceAndCombiningOnesNot) {
  EXPECT_EQ(displayWidth("abc"), 3U);
  EXPECT_EQ(displayWidth("音楽"), 4U);
  EXPECT_EQ(displayWidth("a\u0308"), 1U);
  EXPECT_EQ(displayWidth("🎵"), 2U);
}

TEST(DisplayText, ATextThatFitsIsNotCut) {
  EXPECT_EQ(cutMiddle("abcdef", 6, true), "abcdef");
  EXPECT_EQ(cutMiddle("音楽", 4, true), "音楽");
  EXPECT_EQ(cutMiddle("", 0, true), "");
}

TEST(DisplayText, ALongTextLosesItsMiddle) {
  EXPECT_EQ(cutMiddle("abcdefghij", 7, true), "abc…hij");
  EXPECT_EQ(cutMiddle("abcdefghij", 6, true), "ab…hij");
  EXPECT_EQ(cutMiddle("abcdefghij", 7, false), "ab...ij");
}

TEST(DisplayText, AWideCharacterIsNotCutInHalf) {
  EXPECT_EQ(cutMiddle("音楽音楽音楽", 8, true), "音…音楽");
  for (size_t width = 0; width < 14; ++width) {
    EXPECT_LE(displayWidth(cutMiddle("a音b楽c音d楽e音", width, true)), width);
    EXPECT_LE(displayWidth(cutMiddle("a音b楽c音d楽e音", width, false)), width);
  }
}

TEST(DisplayText, ACombiningCharacterStaysWithItsLetter) {
  EXPECT_EQ(cutMiddle("abcde\u0308f", 3, true), "a…f");
  EXPECT_EQ(cutMiddle("a\u0308bcdef", 3, true), "a\u0308…f");
}

TEST(DisplayText, AnEscapeIsNotCut) {
  EXPECT_EQ(cutMiddle("\\u{65e5}\\u{672c}\\u{8a9e}\\u{6b4c}", 24, false), "\\u{65e5}...\\u{6b4c}");
  EXPECT_EQ(cutMiddle("ab\\x1bcdef\\xffgh", 15, false), "ab\\x1b...\\xffgh");
  EXPECT_EQ(cutMiddle("ab\\x1bcdef\\xffgh", 12, false), "ab...gh");
  // What merely looks like the start of one.
  EXPECT_EQ(cutMiddle("\\u{65e5\\u{65e512345}\\x", 12, false), "\\u{6...45}\\x");
  EXPECT_EQ(cutMiddle("abcdefgh\\xZ\\x", 7, false), "ab...\\x");
  EXPECT_EQ(displayWidth("\\x1b\\u{65e5}\\x"), 14U);
}

TEST(DisplayText, PaddingCountsColumns) {
  EXPECT_EQ(padded("音", 4), "音  ");
  EXPECT_EQ(paddedLeft("音", 4), "  音");
  EXPECT_EQ(padded("abc", 2), "abc");
}

}  // namespace
}  // namespace quorin_command
