#include <gtest/gtest.h>

#include "support/scripted_source.h"

namespace {

using quorin_test::ScriptedScheme;
using quorin_test::SourceScript;

TEST(UrlOpener, OfASchemeThatNothingOpensIsEmpty) { EXPECT_FALSE(md::urlOpener("nobody-opens-this")); }

TEST(UrlOpener, OfABuiltInSchemeIsThere) {
  for (const char* scheme : {"", "file", "FILE", "vdr2", "http", "https"}) {
    EXPECT_TRUE(md::urlOpener(scheme)) << scheme;
  }
}

TEST(UrlOpener, OfARegisteredSchemeIsTheRegisteredOne) {
  const ScriptedScheme scheme("scripted", SourceScript{});
  boost::shared_ptr<MdchUrlBase> url;
  EXPECT_EQ(md::urlOpener("Scripted")("scripted:a", MdchOpenParams(), url), 0);
  EXPECT_EQ(scheme.opened, std::vector<std::string>{"scripted:a"});
}

TEST(UrlOpener, CanBeWrappedByAnother) {
  const ScriptedScheme scheme("scripted", [](const std::string&) { return ScriptedScheme::Answer{11, nullptr}; });
  int seen = 0;
  md::registerUrlScheme("scripted", [inner = md::urlOpener("scripted"), &seen](auto& uri, auto& params, auto& url) {
    return seen = inner(uri, params, url);
  });
  boost::shared_ptr<MdchUrlBase> url;
  EXPECT_EQ(mdch_OpenUrl("scripted:a", 0, MdchOpenParams(), url), 11);
  EXPECT_EQ(seen, 11);
}

TEST(UrlOpener, OfPathsIsTheOneOfTheEmptyScheme) {
  const ScriptedScheme paths("", SourceScript{});
  boost::shared_ptr<MdchUrlBase> url;
  EXPECT_EQ(mdch_OpenUrl("/some/path", 0, MdchOpenParams(), url), 0);
  EXPECT_EQ(mdch_OpenUrl("song.mp3", 0, MdchOpenParams(), url), 0);
  EXPECT_EQ(paths.opened, (std::vector<std::string>{"/some/path", "song.mp3"}));
}

}  // namespace
