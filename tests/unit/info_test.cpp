#include "quorin/info.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <type_traits>

#include "quorin/analyze_result.h"

namespace zu::md::common::quorin {
namespace {

static_assert(sizeof(MediaType_t) == 4 && std::is_signed_v<std::underlying_type_t<MediaType_t>>);
static_assert(MEDIA_TYPE_NONE == -1);
static_assert(MEDIA_TYPE_MP3 == 0);
static_assert(MEDIA_TYPE_RESERVED_1 == 1);
static_assert(MEDIA_TYPE_LPCM == 2);
static_assert(MEDIA_TYPE_WAV == 3);
static_assert(MEDIA_TYPE_FLAC == 4);
static_assert(MEDIA_TYPE_RESERVED_5 == 5);
static_assert(MEDIA_TYPE_AAC_MPEG2 == 6);
static_assert(MEDIA_TYPE_AAC_MPEG4 == 7);

static_assert(Info::MaximumHttpHeaderSize == 10000);
static_assert(std::is_same_v<decltype(Info::MaximumHttpHeaderSize), const int>);
static_assert(std::has_virtual_destructor_v<Info>);
static_assert(std::is_base_of_v<Info, RedirectInfo>);
static_assert(!std::is_polymorphic_v<AnalyzeResult>);

TEST(Info, MaximumHttpHeaderSizeHasAnAddress) {
  const int* const size = &Info::MaximumHttpHeaderSize;
  EXPECT_EQ(*size, 10000);
}

TEST(Info, KindsAreToldApartByTheirDynamicType) {
  const boost::shared_ptr<Info> plain = boost::make_shared<Info>();
  const boost::shared_ptr<Info> redirect = boost::make_shared<RedirectInfo>();
  EXPECT_EQ(dynamic_cast<RedirectInfo*>(plain.get()), nullptr);
  EXPECT_NE(dynamic_cast<RedirectInfo*>(redirect.get()), nullptr);
}

TEST(Info, FreshRecordsAreEmpty) {
  EXPECT_EQ(Info().mimeType, "");
  EXPECT_EQ(RedirectInfo().contentType, "");
  EXPECT_TRUE(RedirectInfo().urls.empty());
  EXPECT_FALSE(AnalyzeResult().info);
  EXPECT_FALSE(AnalyzeResult().strell);
}

}  // namespace
}  // namespace zu::md::common::quorin
