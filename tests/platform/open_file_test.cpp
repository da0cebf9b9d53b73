#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <climits>
#include <cstring>
#include <filesystem>

#include "opened_item.h"
#include "support/temporary_folder.h"

namespace quorin_test {
namespace {

TEST(OpenFile, APathAndEveryFormOfUriOpenTheSameFile) {
  const TemporaryFolder folder;
  const std::string path = folder.write("a b.mp3", std::string("bytes"));
  const std::string escaped = folder / "a%20b.mp3";
  for (const std::string& uri : {path, "file:" + escaped, "file://" + escaped, "FILE://localhost" + escaped}) {
    const OpenedItem item = openItem(uri);
    ASSERT_EQ(item.code, 0) << uri;
    EXPECT_EQ(readAll(*item.source), "bytes") << uri;
  }
}

TEST(OpenFile, ARelativePathStartsAtTheWorkingDirectory) {
  const TemporaryFolder folder;
  folder.write("item", std::string("bytes"));
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  const OpenedItem path = openItem("item");
  const OpenedItem uri = openItem("file:item");
  std::filesystem::current_path(before);
  ASSERT_EQ(path.code, 0);
  ASSERT_EQ(uri.code, 0);
  EXPECT_EQ(readAll(*path.source), "bytes");
  EXPECT_EQ(readAll(*uri.source), "bytes");
}

TEST(OpenFile, WhatIsNotThereIsCode2) {
  const TemporaryFolder folder;
  const std::string file = folder.write("file", std::string("x"));
  for (const std::string& uri :
       {folder / "none", folder / "none/item", file + "/item", "file://" + (folder / "none")}) {
    const OpenedItem item = openItem(uri);
    EXPECT_EQ(item.code, 2) << uri;
    EXPECT_FALSE(item.source);
  }
}

TEST(OpenFile, WhatMustNotBeReadIsCode13) {
  const TemporaryFolder folder;
  const std::string path = folder.write("secret", std::string("x"));
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  const WithoutPrivileges now;
  const OpenedItem item = openItem(path);
  EXPECT_EQ(item.code, 13);
  EXPECT_FALSE(item.source);
}

TEST(OpenFile, NoDescriptorLeftIsCode11) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", std::string("x"));
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const OpenedItem item = openItem(path);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(item.code, 11);
  EXPECT_FALSE(item.source);
  EXPECT_EQ(openItem(path).code, 0);
}

TEST(OpenFile, WhatIsNoItemIsCode22) {
  const TemporaryFolder folder;
  ASSERT_EQ(symlink("loop", (folder / "loop").c_str()), 0);
  const std::string tooLong = folder / std::string(NAME_MAX + 1, 'n');
  std::string tooLongInAll;
  while (tooLongInAll.size() <= PATH_MAX) {
    tooLongInAll += "/longer";
  }
  for (const std::string& uri :
       {std::string(), folder.path(), "file://" + folder.path(), folder / "loop", tooLong, tooLongInAll,
        std::string("file:"), std::string("file://server/item"), std::string("file:///a%00")}) {
    const OpenedItem item = openItem(uri);
    EXPECT_EQ(item.code, 22) << uri;
    EXPECT_FALSE(item.source);
  }
}

TEST(OpenFile, ASocketIsNoItem) {
  const TemporaryFolder folder;
  const std::string path = folder / "socket";
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(openItem(path).code, 22);
  close(listening);
}

TEST(OpenFile, TimeLimitsThatCannotBeUnderstoodAreCode22) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", std::string("x"));
  EXPECT_EQ(openItem(path, "stall=soon").code, 22);
  EXPECT_EQ(openItem(path, "connect=1;stall=2.5;total=60").code, 0);
  EXPECT_EQ(openItem(path, "").code, 0);
}

TEST(OpenFile, TheDescriptorIsNotInherited) {
  const TemporaryFolder folder;
  const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(next);
  const OpenedItem item = openItem(folder.write("file", std::string("x")));
  ASSERT_EQ(item.code, 0);
  EXPECT_NE(fcntl(next, F_GETFD) & FD_CLOEXEC, 0);
}

TEST(OpenFile, ClosingGivesTheDescriptorBack) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", std::string("x"));
  for (int i = 0; i < 3000; ++i) {  // more than a process may have open
    ASSERT_EQ(openItem(path).code, 0);
    ASSERT_EQ(openItem(folder.path()).code, 22);
  }
}

}  // namespace
}  // namespace quorin_test
