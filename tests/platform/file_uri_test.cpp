#include "file/file_uri.h"

#include <gtest/gtest.h>

namespace {

using md::host::pathOfFileUri;

TEST(FileUri, APathIsTakenAsItIs) {
  for (const std::string path : {"/music/a b.mp3", "a.mp3", "./a:b", "/100%41", "/file:/x", "files", "f", "//a"}) {
    std::string found;
    EXPECT_TRUE(pathOfFileUri(path, found));
    EXPECT_EQ(found, path);
  }
}

TEST(FileUri, AllFormsOfTheStandardAreUnderstood) {
  const struct {
    const char* uri;
    const char* path;
  } cases[] = {{"file:/p/q", "/p/q"},
               {"file:///p/q", "/p/q"},
               {"file://localhost/p", "/p"},
               {"FILE://LocalHost/P", "/P"},
               {"File:p/q", "p/q"},
               {"file:////p", "//p"},
               {"file:///", "/"}};
  for (const auto& c : cases) {
    std::string found;
    EXPECT_TRUE(pathOfFileUri(c.uri, found)) << c.uri;
    EXPECT_EQ(found, c.path) << c.uri;
  }
}

TEST(FileUri, EscapesAreDecodedOnceAndOthersKept) {
  const struct {
    const char* uri;
    const char* path;
  } cases[] = {{"file:///a%20b", "/a b"}, {"file:///%c3%A4", "/\xC3\xA4"}, {"file:///%2541", "/%41"},
               {"file:///100%", "/100%"}, {"file:///a%4", "/a%4"},         {"file:///%zz%41", "/%zzA"},
               {"file:///%%41", "/%A"},   {"file:///%4%31", "/%41"},       {"file:///a?b#c", "/a?b#c"},
               {"file:///a%2Fb", "/a/b"}, {"file:///%g1", "/%g1"},         {"file:///%1G", "/%1G"},
               {"file:%61%2f", "a/"},     {"file:///a+b", "/a+b"},         {"file:///\xFF", "/\xFF"}};
  for (const auto& c : cases) {
    std::string found;
    EXPECT_TRUE(pathOfFileUri(c.uri, found)) << c.uri;
    EXPECT_EQ(found, c.path) << c.uri;
  }
}

TEST(FileUri, WithoutAPathOnThisMachineThereIsNone) {
  using namespace std::string_literals;
  for (const std::string& uri :
       {""s, "file:"s, "FILE:"s, "file://"s, "file://localhost"s, "file://server/a"s, "file://127.0.0.1/a"s,
        "file://user@localhost/a"s, "file://localhost:80/a"s, "file:///a%00b"s, "file:%00"s, "/a\0b"s}) {
    std::string found = "untouched";
    EXPECT_FALSE(pathOfFileUri(uri, found)) << uri;
    EXPECT_EQ(found, "untouched") << uri;
  }
}

}  // namespace
