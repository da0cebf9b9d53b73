#include "quorin/mime_types.h"

#include <gtest/gtest.h>

namespace zu::md::common::quorin {
namespace {

TEST(MimeTypes, HaveTheirPublishedSpelling) {
  EXPECT_EQ(MimeTypes::AudioDlnaAdts, "audio/aacp");
  EXPECT_EQ(MimeTypes::AudioVorbis, "audio/vorbis");
  EXPECT_EQ(MimeTypes::AudioXFlac, "audio/x-flac");
  EXPECT_EQ(MimeTypes::AudioMpeg, "audio/mpeg");
  EXPECT_EQ(MimeTypes::AudioXWave, "audio/x-wav");
  EXPECT_EQ(MimeTypes::AudioXMsWma, "audio/x-ms-wma");
  EXPECT_EQ(MimeTypes::AudioL16, "audio/L16");
  EXPECT_EQ(MimeTypes::ImageJpeg, "image/jpeg");
  EXPECT_EQ(MimeTypes::ImagePng, "image/png");
  EXPECT_EQ(MimeTypes::ImageGif, "image/gif");
  EXPECT_EQ(MimeTypes::VideoMP2T, "video/mp2t");
  EXPECT_EQ(MimeTypes::VideoAVCHD, "video/avchd");
  EXPECT_EQ(MimeTypes::ApplicationRedirect, "application/redirect");
  EXPECT_EQ(MimeTypes::ApplicationRedirectAsf, "application/redirect-asf");
  EXPECT_EQ(MimeTypes::ApplicationFolder, "application/folder");
  EXPECT_EQ(MimeTypes::ApplicationUnknown, "application/unknown");
}

}  // namespace
}  // namespace zu::md::common::quorin
