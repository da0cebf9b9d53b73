#include "framework/ascii_case.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace quorin_test {
namespace {

using zu::md::common::quorin::findIgnoringCase;
using zu::md::common::quorin::startsWithIgnoringCase;

constexpr auto npos = std::string_view::npos;

TEST(AsciiCase, APrefixIsFoundInAnyCase) {
  EXPECT_TRUE(startsWithIgnoringCase("HTTP://Host", "http://"));
  EXPECT_TRUE(startsWithIgnoringCase("http://", "HtTp://"));
  EXPECT_TRUE(startsWithIgnoringCase("any", ""));
  EXPECT_FALSE(startsWithIgnoringCase("http:/", "http://"));
  EXPECT_FALSE(startsWithIgnoringCase("", "h"));
  EXPECT_FALSE(startsWithIgnoringCase(" http://", "http://"));
}

TEST(AsciiCase, APartIsFoundInAnyCaseFromAPositionOn) {
  EXPECT_EQ(findIgnoringCase("xx<ASX <asx", "<asx"), 2U);
  EXPECT_EQ(findIgnoringCase("xx<ASX <asx", "<asx", 3), 7U);
  EXPECT_EQ(findIgnoringCase("<as<asx", "<ASX"), 3U);
  EXPECT_EQ(findIgnoringCase("xx<as", "<asx"), npos);
  EXPECT_EQ(findIgnoringCase("<asx", "<asx", 4), npos);
  EXPECT_EQ(findIgnoringCase("<asx", "<asx", 99), npos);
  EXPECT_EQ(findIgnoringCase("abc", "", 3), 3U);
  EXPECT_EQ(findIgnoringCase("", ""), 0U);
}

TEST(AsciiCase, ANulIsAByteLikeAnyOther) {
  const std::string text("a\0Location", 10);
  EXPECT_EQ(findIgnoringCase(text, "location"), 2U);
  EXPECT_FALSE(startsWithIgnoringCase(text, "ab"));
}

TEST(AsciiCase, OnlyTheLettersOfAsciiHaveACase) {
  EXPECT_FALSE(startsWithIgnoringCase("@", "`"));
  EXPECT_FALSE(startsWithIgnoringCase("[", "{"));
  EXPECT_FALSE(startsWithIgnoringCase("\xc4", "\xe4"));  // in Latin-1 one letter in two cases
}

TEST(AsciiCase, TheLocaleDoesNotMatter) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  for (const char* locale : {"tr_TR.UTF-8", "de_DE.ISO-8859-1", "C.UTF-8", "C"}) {
    if (std::setlocale(LC_ALL, locale) != nullptr) {
      EXPECT_TRUE(startsWithIgnoringCase("FILE:/", "file:/")) << locale;
      EXPECT_FALSE(startsWithIgnoringCase("\xc4", "\xe4")) << locale;
    }
  }
  std::setlocale(LC_ALL, before.c_str());
}

}  // namespace
}  // namespace quorin_test
