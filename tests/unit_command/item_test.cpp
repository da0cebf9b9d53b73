#include "item/item.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace quorin_command {
namespace {

/// A working folder of its own for each test.
class Item : public testing::Test {
 protected:
  Item() : before_(std::filesystem::current_path()) {
    std::string pattern = testing::TempDir() + "quorin-item-XXXXXX";
    folder_ = std::filesystem::canonical(mkdtemp(pattern.data())).string();
    std::filesystem::current_path(folder_);
  }
  ~Item() override {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(folder_);
  }

  std::filesystem::path before_;
  std::string folder_;
};

TEST_F(Item, ARelativePathIsMadeAbsolute) {
  EXPECT_EQ(uriOf("song.mp3"), folder_ + "/song.mp3");
  EXPECT_EQ(uriOf("a/../song.mp3"), folder_ + "/a/../song.mp3");
  EXPECT_EQ(uriOf("-"), folder_ + "/-");
  EXPECT_EQ(uriOf("folder/"), folder_ + "/folder/");
}

TEST_F(Item, LeadingDotsAreDropped) {
  EXPECT_EQ(uriOf("./song.mp3"), folder_ + "/song.mp3");
  EXPECT_EQ(uriOf(".//./song.mp3"), folder_ + "/song.mp3");
  EXPECT_EQ(uriOf("../song.mp3"), folder_ + "/../song.mp3");
}

TEST_F(Item, AnAbsolutePathStays) { EXPECT_EQ(uriOf("/music/../a:b.mp3"), "/music/../a:b.mp3"); }

TEST_F(Item, NothingStaysNothing) { EXPECT_EQ(uriOf(""), ""); }

TEST_F(Item, AUriStays) {
  for (const char* uri : {"http://host/a b", "HTTPS://host", "file:///x", "file:x", "vdr2://u/x", "odd+scheme.1-x:y"}) {
    EXPECT_EQ(uriOf(uri), uri);
  }
}

TEST_F(Item, ANameWithAColonIsAPathWhenItHasNoScheme) {
  EXPECT_EQ(uriOf("12:30.mp3"), folder_ + "/12:30.mp3");
  EXPECT_EQ(uriOf(":x"), folder_ + "/:x");
  EXPECT_EQ(uriOf("a b:c"), folder_ + "/a b:c");
}

TEST_F(Item, AFileWhoseNameBeginsLikeAUriIsTheFile) {
  std::ofstream(folder_ + "/Live: 1999.mp3") << "x";
  EXPECT_EQ(uriOf("Live: 1999.mp3"), folder_ + "/Live: 1999.mp3");
  EXPECT_EQ(uriOf("Live: 2000.mp3"), "Live: 2000.mp3");
}

TEST_F(Item, AnAddressIsNeverTakenForAFile) {
  std::filesystem::create_directories(folder_ + "/http:/host");
  EXPECT_EQ(uriOf("http://host"), "http://host");
}

TEST(ItemScheme, HttpIsKnownInAnyCase) {
  EXPECT_TRUE(isHttp("http"));
  EXPECT_TRUE(isHttp("HttpS"));
  EXPECT_FALSE(isHttp("httpx"));
  EXPECT_FALSE(isHttp(""));
}

TEST_F(Item, AFileUriHasThePathThatTheUrlLayerOpens) {
  EXPECT_EQ(localPath("file:///a%20b/%C3%A9"), "/a b/\xc3\xa9");
  EXPECT_EQ(localPath("FILE:/a"), "/a");
  EXPECT_EQ(localPath("file://LocalHost/a?b#c"), "/a?b#c");
  EXPECT_EQ(localPath("file:a/b%2"), "a/b%2");
  EXPECT_EQ(localPath("file:/100%zz"), "/100%zz");
  EXPECT_EQ(localPath("file://host/a"), "");
  EXPECT_EQ(localPath("http://host/a"), "");
}

TEST_F(Item, APathIsItsOwn) {
  EXPECT_EQ(localPath("/a%20b"), "/a%20b");
  EXPECT_EQ(localPath("a"), "a");
  std::ofstream("file:a") << "x";
  EXPECT_EQ(localPath("file:a"), "file:a");
}

}  // namespace
}  // namespace quorin_command
