#include "redirect/well_formed.h"

#include <gtest/gtest.h>

#include <random>

#include "md/url.h"
#include "quorin/info.h"
#include "support/answer_text.h"
#include "support/log_capture.h"

namespace quorin_test {
namespace {

using zu::md::common::quorin::AnalyzeResult;
using zu::md::common::quorin::checkWellFormed;
using zu::md::common::quorin::RedirectInfo;
using zu::md::common::strell::OpenParams;

std::string check(const std::string& uri) {
  OpenParams params;
  params.uri = uri;
  AnalyzeResult result;
  checkWellFormed(params, result);
  EXPECT_FALSE(result.strell);
  return answerText(result);
}

TEST(WellFormed, AUrlThatIsWrittenDifferentlyIsRedirected) {
  EXPECT_EQ(check("HTTP://Example/path"), "application/redirect http://example/path []");
  EXPECT_EQ(check("https://example/a b"), "application/redirect https://example/a%20b []");
  EXPECT_EQ(check("http://example/a\n"), "application/redirect http://example/a []");
}

TEST(WellFormed, AWellFormedUrlHasNoAnswer) {
  const LogCapture log;
  EXPECT_EQ(check("http://example/path?a=b#c"), "none");
  EXPECT_EQ(check("https://example/"), "none");
  EXPECT_EQ(log.dump(), "");
}

TEST(WellFormed, WhatOnlyBeginsLikeAUrlHasNoAnswer) {
  EXPECT_EQ(check("httpfoo"), "none");
  EXPECT_EQ(check("HTTP"), "none");
  EXPECT_EQ(check("https:a b"), "none");
}

TEST(WellFormed, OtherSchemesAreNotLookedAt) {
  EXPECT_EQ(check("rtsp://Example/a b"), "none");
  EXPECT_EQ(check("/music/a b.mp3"), "none");
  EXPECT_EQ(check(" http://example/"), "none");
  EXPECT_EQ(check("htt"), "none");
}

TEST(WellFormed, LogsTheRepairedUrl) {
  const LogCapture log;
  check("http://Example/a b");
  EXPECT_EQ(log.dump(), "4000 Analyzer::Impl::checkWellFormed() redirect well formed url 'http://example/a%20b'\n");
}

TEST(WellFormed, TheRedirectOfAnyTextIsWellFormedItself) {
  std::mt19937 random(7);
  for (int round = 0; round < 2000; ++round) {
    std::string uri = random() % 2 == 0 ? "http" : "HTTPS://h";
    for (auto n = random() % 16; n != 0; --n) {
      uri += static_cast<char>(random());
    }
    OpenParams params;
    params.uri = uri;
    AnalyzeResult result;
    checkWellFormed(params, result);
    if (result.info) {
      EXPECT_EQ(check(dynamic_cast<const RedirectInfo&>(*result.info).urls.front()), "none") << uri;
    }
  }
}

}  // namespace
}  // namespace quorin_test
