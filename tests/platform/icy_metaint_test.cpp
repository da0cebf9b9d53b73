#include "strell/icy_metaint.h"

#include <gtest/gtest.h>

namespace zu::md::common::strell {
namespace {

unsigned int metaintOf(const std::string& line) { return icyMetaint({"HTTP/1.0 200 OK\r\n", line, "\r\n"}); }

TEST(IcyMetaint, IsTheNumberOfItsLine) {
  EXPECT_EQ(metaintOf("icy-metaint:16000\r\n"), 16000U);
  EXPECT_EQ(metaintOf("icy-metaint: 16000\r\n"), 16000U);
  EXPECT_EQ(metaintOf("icy-metaint \t:\t 16000 \t\r\n"), 16000U);
  EXPECT_EQ(metaintOf("icy-metaint:16000"), 16000U);
  EXPECT_EQ(metaintOf("icy-metaint:16000\n"), 16000U);
  EXPECT_EQ(metaintOf("icy-metaint: 0000000000000000000000001\r\n"), 1U);
}

TEST(IcyMetaint, TheNameIsFoundInAnyCase) {
  EXPECT_EQ(metaintOf("Icy-MetaInt: 8192\r\n"), 8192U);
  EXPECT_EQ(metaintOf("ICY-METAINT: 8192\r\n"), 8192U);
}

TEST(IcyMetaint, OtherLinesAreNotIt) {
  EXPECT_EQ(metaintOf("icy-meta: 5\r\n"), 0U);
  EXPECT_EQ(metaintOf("x-icy-metaint: 5\r\n"), 0U);
  EXPECT_EQ(metaintOf(" icy-metaint: 5\r\n"), 0U);
  EXPECT_EQ(metaintOf("icy-metaint-unit: 5\r\n"), 0U);
  EXPECT_EQ(metaintOf("icy-metaint 5\r\n"), 0U);
  EXPECT_EQ(metaintOf("icy-metaint"), 0U);
  EXPECT_EQ(metaintOf(""), 0U);
  EXPECT_EQ(icyMetaint({}), 0U);
}

TEST(IcyMetaint, WhatIsNoPositiveNumberMeansNoMetadata) {
  for (const char* value : {"", " ", "0", "000", "-1", "+5", "abc", "16000abc", "16 000", "0x10", "1.5", ":5"}) {
    EXPECT_EQ(metaintOf("icy-metaint:" + std::string(value) + "\r\n"), 0U) << value;
  }
  EXPECT_EQ(metaintOf(std::string("icy-metaint: 5\0", 15)), 0U);
}

TEST(IcyMetaint, AnAbsurdNumberMeansNoMetadata) {
  EXPECT_EQ(metaintOf("icy-metaint: 2147483647"), maxIcyMetaint);
  EXPECT_EQ(metaintOf("icy-metaint: 2147483648"), 0U);
  EXPECT_EQ(metaintOf("icy-metaint: 4294967297"), 0U);
  EXPECT_EQ(metaintOf("icy-metaint: 18446744073709551617"), 0U);
  EXPECT_EQ(metaintOf("icy-metaint: " + std::string(100000, '9')), 0U);
}

TEST(IcyMetaint, TheLastUsableLineCounts) {
  EXPECT_EQ(icyMetaint({"icy-metaint: 100", "icy-metaint: 200"}), 200U);
  EXPECT_EQ(icyMetaint({"icy-metaint: 100", "icy-metaint: none", "icy-metaint: 0"}), 100U);
}

}  // namespace
}  // namespace zu::md::common::strell
