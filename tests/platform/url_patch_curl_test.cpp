// What libcurl says about repaired URLs.

#include "md/url.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/url_parts.h"

namespace quorin_test {
namespace {

using md::urlPatch;

constexpr int generatedStrings = 40000;

TEST(UrlPatchCurl, TakesTheResultWhereTheAuthorityIsSound) {
  Generator draw(4);
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parser(curl_url(), curl_url_cleanup);
  for (int i = 0; i < generatedStrings; ++i) {
    std::string url = draw.oneOf({"", " ", "\r\n\t"}) + draw.oneOf(allSchemes) + "://" + soundAuthority(draw, true);
    if (draw.chance(90)) {
      url += "/?#"[draw.below(3)];
      for (size_t length = draw.below(24); length > 0; --length) {
        url += draw.byte();
      }
    }
    const std::string repaired = urlPatch(url);
    const CURLUcode code = curl_url_set(parser.get(), CURLUPART_URL, repaired.c_str(), CURLU_NON_SUPPORT_SCHEME);
    ASSERT_EQ(code, CURLUE_OK) << curl_url_strerror(code) << ": " << repaired;
  }
}

}  // namespace
}  // namespace quorin_test
