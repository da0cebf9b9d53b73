#include "http/http_options.h"

#include <gmock/gmock.h>

#include "support/temporary_folder.h"

namespace {

using md::host::HttpOptions;
using quorin_test::TemporaryFolder;
using testing::ElementsAre;
using testing::StartsWith;

bool parse(const MdchOpenParams& params, HttpOptions& options) { return md::host::parseHttpOptions(params, options); }

MdchOpenParams withText(const char* MdchOpenParams::*text, const char* value) {
  MdchOpenParams params = {};
  params.*text = value;
  return params;
}

bool isUnderstood(const char* MdchOpenParams::*text, const char* value) {
  HttpOptions options;
  return parse(withText(text, value), options);
}

TEST(HttpOptions, NullAndEmptyMeanTheDefault) {
  for (const char* text : {static_cast<const char*>(nullptr), ""}) {
    MdchOpenParams params = {};
    params.text0 = params.text1 = params.text2 = params.text3 = params.text4 = text;
    HttpOptions options;
    ASSERT_TRUE(parse(params, options));
    EXPECT_THAT(options.userAgent, StartsWith("quorin/"));
    EXPECT_EQ(options.caBundle, "");
    EXPECT_EQ(options.proxy, "");
    EXPECT_TRUE(options.headerLines.empty());
    EXPECT_EQ(options.limits.connect, std::chrono::seconds(10));
    EXPECT_EQ(options.limits.stall, std::chrono::seconds(15));
    EXPECT_EQ(options.limits.total.count(), 0);
  }
}

TEST(HttpOptions, AFailureLeavesTheOptionsAlone) {
  HttpOptions options;
  options.userAgent = "before";
  EXPECT_FALSE(parse(withText(&MdchOpenParams::text4, "nonsense"), options));
  EXPECT_EQ(options.userAgent, "before");
}

TEST(HttpOptions, TheUserAgentIsAnythingWithoutControls) {
  EXPECT_TRUE(isUnderstood(&MdchOpenParams::text0, "Some player/1.0 (\xC3\xA4)"));
  EXPECT_FALSE(isUnderstood(&MdchOpenParams::text0, "player\r\nX-Injected: 1"));
  EXPECT_FALSE(isUnderstood(&MdchOpenParams::text0, "player\x7F"));
}

TEST(HttpOptions, TheCaBundleIsAFileThatCanBeRead) {
  const TemporaryFolder folder;
  EXPECT_TRUE(isUnderstood(&MdchOpenParams::text1, folder.write("ca.pem", std::string("x")).c_str()));
  EXPECT_FALSE(isUnderstood(&MdchOpenParams::text1, folder.write("empty.pem", std::string()).c_str()));
  EXPECT_FALSE(isUnderstood(&MdchOpenParams::text1, (folder / "none.pem").c_str()));
  EXPECT_FALSE(isUnderstood(&MdchOpenParams::text1, folder.path().c_str()));
}

TEST(HttpOptions, TheProxyIsAUrlOfAKnownKindOrAHost) {
  for (const char* text : {"http://127.0.0.1:3128", "https://proxy", "socks5://127.0.0.1", "socks5h://u:p@h:1080",
                           "socks4://h", "socks4a://h", "127.0.0.1:3128", "proxy.example"}) {
    EXPECT_TRUE(isUnderstood(&MdchOpenParams::text2, text)) << text;
  }
  for (const char* text :
       {"http://", "http://127.0.0.1:99999", "gopher://127.0.0.1:70", "http://a b", "ftp://h", "http://h\n", ":3128"}) {
    EXPECT_FALSE(isUnderstood(&MdchOpenParams::text2, text)) << text;
  }
}

TEST(HttpOptions, HeaderLinesAreSeparatedByLineFeeds) {
  HttpOptions options;
  ASSERT_TRUE(parse(withText(&MdchOpenParams::text3, "X-One: 1\n\nX-Two:\t2\nX-Empty: \n"), options));
  EXPECT_THAT(options.headerLines, ElementsAre("X-One: 1", "X-Two:\t2", "X-Empty;"));
}

TEST(HttpOptions, AHeaderLineThatIsNoneIsRefused) {
  for (const char* text : {"X-One", "X-One: 1\nbroken", ": value", "X One: 1", "X-One : 1", "X-One: 1\r\nX-Two: 2",
                           "X-One: \x01", "X-One: \x7F", " X-One: 1", "X\xC3\xA4: 1"}) {
    EXPECT_FALSE(isUnderstood(&MdchOpenParams::text3, text)) << text;
  }
}

TEST(HttpOptions, HeaderLinesThatContradictTheRequestAreRefused) {
  for (const char* text :
       {"Range: bytes=0-1", "range: bytes=0-1", "If-Range: \"a\"", "Content-Length: 5", "Transfer-Encoding: chunked"}) {
    EXPECT_FALSE(isUnderstood(&MdchOpenParams::text3, text)) << text;
  }
}

}  // namespace
