#include "item/record.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "quorin/mime_types.h"
#include "sample_records.h"

namespace quorin_command {
namespace {

TEST(Record, AChainGoesFromTheNamedItemToTheLast) {
  EXPECT_EQ(chainOf(sampleAudio()), std::vector<std::string>());
  EXPECT_EQ(chainOf(sampleFollowed()),
            (std::vector<std::string>{"http://host/list.asx", "http://host/list.m3u", "http://host/song.mp3"}));
  EXPECT_EQ(chainOf(sampleRedirect()), (std::vector<std::string>{"http://host/list.m3u", "http://host/song.mp3"}));
  Record refused = sampleRedirect();
  refused.via = {"http://host/list.asx"};
  EXPECT_EQ(chainOf(refused),
            (std::vector<std::string>{"http://host/list.asx", "http://host/list.m3u", "http://host/song.mp3"}));
}

TEST(Record, ARedirectTellsItsTargets) {
  const auto info = boost::make_shared<library::RedirectInfo>();
  info->mimeType = library::MimeTypes::ApplicationRedirect;
  info->contentType = "audio/x-mpegurl";
  info->urls = {"http://host/a"};
  Record record;
  const library::AnalyzeResult result = {info, nullptr};
  describe(&result, record);
  EXPECT_EQ(record.kind, Kind::Redirect);
  EXPECT_EQ(record.mimeType, "application/redirect");
  ASSERT_TRUE(record.redirect);
  EXPECT_EQ(record.redirect->contentType, "audio/x-mpegurl");
  EXPECT_EQ(record.redirect->urls, std::list<std::string>{"http://host/a"});
  EXPECT_FALSE(record.playPosition);
}

TEST(Record, AFolderIsAFolder) {
  const auto info = boost::make_shared<library::Info>();
  info->mimeType = library::MimeTypes::ApplicationFolder;
  Record record;
  const library::AnalyzeResult result = {info, nullptr};
  describe(&result, record);
  EXPECT_EQ(record.kind, Kind::Folder);
  EXPECT_EQ(record.mimeType, "application/folder");
}

TEST(Record, WithoutInfoItIsAnError) {
  Record record;
  describe(nullptr, record);
  EXPECT_EQ(record.kind, Kind::Error);
  const library::AnalyzeResult nothing;
  describe(&nothing, record);
  EXPECT_EQ(record.kind, Kind::Error);
}

TEST(Record, WhatBrokeHasFailedAndWhatIsMerelyUnknownHasNot) {
  EXPECT_FALSE(hasFailed(Kind::Audio, ""));
  EXPECT_FALSE(hasFailed(Kind::Unknown, notRecognised().name));
  EXPECT_FALSE(hasFailed(Kind::Unknown, emptyItem().name));
  EXPECT_TRUE(hasFailed(Kind::Unknown, "io_error"));
  EXPECT_TRUE(hasFailed(Kind::Error, "not_found"));
  EXPECT_TRUE(hasFailed(Kind::Error, ""));
}

TEST(Record, APictureLiesInsideItsStream) {
  EXPECT_TRUE(liesInside({53, 20480}, 20533));
  EXPECT_TRUE(liesInside({0, 0}, 0));
  EXPECT_TRUE(liesInside({53, 20480}, std::nullopt));
}

TEST(Record, APictureThatReachesBeyondItsStreamDoesNot) {
  EXPECT_FALSE(liesInside({53, 20480}, 20532));
  EXPECT_FALSE(liesInside({INT64_MAX, 1}, 100));
  EXPECT_FALSE(liesInside({-1, 1}, 100));
  EXPECT_FALSE(liesInside({1, -1}, 100));
  EXPECT_FALSE(liesInside({-1, 1}, std::nullopt));
}

}  // namespace
}  // namespace quorin_command
