#include "redirect/playlist_strings.h"

#include <gtest/gtest.h>

namespace zu::md::common::quorin {
namespace {

TEST(PlaylistStrings, ContentTypes) {
  EXPECT_EQ(playlist_types::audioWax, "audio/x-ms-wax");
  EXPECT_EQ(playlist_types::audioAsf, "audio/x-ms-asf");
  EXPECT_EQ(playlist_types::videoWvx, "video/x-ms-wvx");
  EXPECT_EQ(playlist_types::videoAsf, "video/x-ms-asf");
  EXPECT_EQ(playlist_types::audioMpegUrl, "audio/mpegurl");
  EXPECT_EQ(playlist_types::audioXMpegUrl, "audio/x-mpegurl");
  EXPECT_EQ(playlist_types::textPlain, "text/plain");
  EXPECT_EQ(playlist_types::xml, "application/xml");
}

TEST(PlaylistStrings, UrlPrefixes) {
  EXPECT_EQ(url_prefixes::http, "http://");
  EXPECT_EQ(url_prefixes::https, "https://");
  EXPECT_EQ(url_prefixes::mms, "mms://");
  EXPECT_EQ(url_prefixes::mmsh, "mmsh://");
  EXPECT_EQ(url_prefixes::file, "file:/");
  EXPECT_EQ(url_prefixes::rtsp, "rtsp://");
  EXPECT_EQ(url_prefixes::rtp, "rtp://");
  EXPECT_EQ(url_prefixes::vdr2, "vdr2://");
}

TEST(PlaylistStrings, Markers) {
  EXPECT_EQ(playlist_markers::asx, "<asx");
  EXPECT_EQ(playlist_markers::entryRef, "<entryref");
  EXPECT_EQ(playlist_markers::entry, "<entry");
  EXPECT_EQ(playlist_markers::ref, "<ref");
  EXPECT_EQ(playlist_markers::reference, "[Reference]");
  EXPECT_EQ(playlist_markers::contents, "<Contents");
  EXPECT_EQ(playlist_markers::contentItem, "<ContentItem");
  EXPECT_EQ(playlist_markers::contentUrl, "<ContentURL");
}

}  // namespace
}  // namespace zu::md::common::quorin
