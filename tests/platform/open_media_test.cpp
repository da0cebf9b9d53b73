#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "contract/source_contract.h"
#include "opened_item.h"
#include "support/temporary_folder.h"
#include "vdir2.h"

namespace quorin_test {
namespace {

/// A medium for each test: ids live as long as the process.
class OpenMedia : public testing::Test {
 protected:
  OpenMedia() {
    folder.makeFolder("medium/dir");
    folder.write("medium/dir/item", std::string("bytes"));
    folder.write("outside", std::string("secret"));
    EXPECT_GE(vdir2MediaRegister(uuid.c_str(), (folder / "medium").c_str()), 0);
  }

  const TemporaryFolder folder;
  const std::string uuid = "Test-" + folder.path().substr(folder.path().rfind('-') + 1);
  const std::string medium = "vdr2://" + uuid;
};

class MediumFiles : public SourceFactory {
 public:
  MediumFiles() { vdir2MediaRegister("source-contract", folder_.path().c_str()); }

  boost::shared_ptr<MdchUrlBase> open(const Bytes& bytes) override {
    const std::string name = "item" + std::to_string(++count_);
    folder_.write(name, bytes);
    return openItem("vdr2://source-contract/" + name).source;
  }

 private:
  TemporaryFolder folder_;
  int count_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Medium, SourceContract,
                         testing::Values(SourceKind{"File", true, true, makeFactory<MediumFiles>}), sourceKindName);

TEST_F(OpenMedia, OpensAFileOfARegisteredMedium) {
  const OpenedItem item = openItem(medium + "/dir/item");
  ASSERT_EQ(item.code, 0);
  EXPECT_EQ(readAll(*item.source), "bytes");
  EXPECT_EQ(item.source->cost().bytes, 5U);
}

TEST_F(OpenMedia, SchemeAndUuidAreTakenInAnyCase) {
  std::string shouted = medium;
  for (char& c : shouted) {
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  EXPECT_EQ(openItem(shouted + "/dir/item").code, 0);
  EXPECT_EQ(openItem(shouted + "/DIR/item").code, 2) << "the path is as it is";
}

TEST_F(OpenMedia, ThePathIsNotDecoded) {
  folder.write("medium/a%20b?#", std::string("raw"));
  const OpenedItem item = openItem(medium + "/a%20b?#");
  ASSERT_EQ(item.code, 0);
  EXPECT_EQ(readAll(*item.source), "raw");
  EXPECT_EQ(openItem(medium + "/dir%2Fitem").code, 2);
}

TEST_F(OpenMedia, WhatIsNotThereIsCode2) {
  for (const std::string& uri : {medium + "/none", medium + "/none/item", medium + "/dir/item/x",
                                 std::string("vdr2://never-registered/x"), std::string("vdr2://0123-ABCD/x")}) {
    EXPECT_EQ(openItem(uri).code, 2) << uri;
  }
}

TEST_F(OpenMedia, WhatMustNotBeReadIsCode13) {
  ASSERT_EQ(chmod((folder / "medium/dir/item").c_str(), 0), 0);
  const WithoutPrivileges now;
  EXPECT_EQ(openItem(medium + "/dir/item").code, 13);
}

TEST_F(OpenMedia, NoDescriptorLeftIsCode11) {
  const std::string uri = medium + "/dir/item";  // made now: sanitizers need descriptors to look at this fixture
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const OpenedItem item = openItem(uri);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(item.code, 11);
}

TEST_F(OpenMedia, AMalformedUriIsCode22) {
  for (const std::string& uri : {medium, std::string("vdr2://"), std::string("vdr2:///dir/item"), std::string("vdr2:"),
                                 "vdr2:/" + uuid + "/dir/item", "vdr2:" + uuid + "/dir/item"}) {
    EXPECT_EQ(openItem(uri).code, 22) << uri;
  }
  EXPECT_EQ(openItem(medium + "/dir/item", "stall=x").code, 22);
}

TEST_F(OpenMedia, ADirectoryIsCode22) {
  for (const char* path : {"/", "/dir", "/dir/", "/."}) {
    EXPECT_EQ(openItem(medium + path).code, 22) << path;
  }
}

TEST_F(OpenMedia, WhatLeavesTheMediumIsCode22) {
  ASSERT_EQ(symlink("../outside", (folder / "medium/out").c_str()), 0);
  ASSERT_EQ(symlink((folder / "outside").c_str(), (folder / "medium/absolute").c_str()), 0);
  for (const std::string& path :
       {std::string("/../outside"), std::string("/dir/../../outside"), std::string("/.."), std::string("/out"),
        std::string("/absolute"), "/" + (folder / "medium/dir/item"), std::string("//dir/item")}) {
    const OpenedItem item = openItem(medium + path);
    EXPECT_EQ(item.code, 22) << path;
    EXPECT_FALSE(item.source);
  }
}

TEST_F(OpenMedia, ARegisteredDirectoryThatIsGoneIsCode2) {
  std::filesystem::remove_all(folder / "medium");
  EXPECT_EQ(openItem(medium + "/dir/item").code, 2);
  EXPECT_GE(vdir2MediaIDGetByUUID(uuid.c_str()), 0);
}

TEST_F(OpenMedia, AFifoOnAMediumIsBoundedByTheStallLimit) {
  ASSERT_EQ(mkfifo((folder / "medium/fifo").c_str(), 0666), 0);
  const OpenedItem item = openItem(medium + "/fifo", "stall=0.1");
  ASSERT_EQ(item.code, 0);
  int status = 0;
  EXPECT_EQ(readAll(*item.source, &status), "");
  EXPECT_LT(status, 0);
}

using Vdir2 = OpenMedia;

TEST_F(Vdir2, FindsRegisteredMediaInAnyCase) {
  const int id = vdir2MediaIDGetByUUID(uuid.c_str());
  EXPECT_GE(id, 0);
  std::string lower = uuid;
  for (char& c : lower) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  EXPECT_EQ(vdir2MediaIDGetByUUID(lower.c_str()), id);
  for (const char* none :
       {"", "never-registered", "0123-ABCD", "../..", "\n", "11111111-2222-3333-4444-555555555555"}) {
    EXPECT_LT(vdir2MediaIDGetByUUID(none), 0) << none;
  }
  EXPECT_LT(vdir2MediaIDGetByUUID(nullptr), 0);
  EXPECT_LT(vdir2MediaIDGetByUUID(std::string(100000, 'a').c_str()), 0);
}

TEST_F(Vdir2, OpensAndClosesDirectories) {
  const int id = vdir2MediaIDGetByUUID(uuid.c_str());
  for (const char* path : {"", "dir", "dir/", "."}) {
    for (const int mode : {0, 15, -1}) {
      const int handle = vdir2DirOpen(id, path, mode);
      EXPECT_GE(handle, 0) << path;
      EXPECT_EQ(vdir2DirClose(handle, 5), 0);
      EXPECT_LT(vdir2DirClose(handle, 5), 0) << "closed already";
    }
  }
}

TEST_F(Vdir2, WhatIsNoDirectoryOfTheMediumDoesNotOpen) {
  ASSERT_EQ(symlink("..", (folder / "medium/out").c_str()), 0);
  const int id = vdir2MediaIDGetByUUID(uuid.c_str());
  for (const std::string& path :
       {std::string("dir/item"), std::string("none"), std::string(".."), std::string("dir/.."), std::string("/"),
        std::string("/dir"), folder.path(), std::string("out")}) {
    EXPECT_LT(vdir2DirOpen(id, path.c_str(), 15), 0) << path;
  }
  EXPECT_LT(vdir2DirOpen(id, nullptr, 15), 0);
  for (const int other : {-1, -2147483647 - 1, 2147483647}) {
    EXPECT_LT(vdir2DirOpen(other, "", 15), 0);
  }
  for (const int handle : {-1, 2147483647}) {
    EXPECT_LT(vdir2DirClose(handle, 0), 0);
  }
}

TEST_F(Vdir2, AClosedHandleIsNotGivenToTheNext) {
  const int id = vdir2MediaIDGetByUUID(uuid.c_str());
  const int first = vdir2DirOpen(id, "", 15);
  ASSERT_EQ(vdir2DirClose(first, 5), 0);
  const int second = vdir2DirOpen(id, "", 15);
  EXPECT_NE(second, first);
  EXPECT_LT(vdir2DirClose(first, 5), 0);
  EXPECT_EQ(vdir2DirClose(second, 5), 0);
}

TEST_F(Vdir2, AtMost256DirectoriesAreOpen) {
  const int id = vdir2MediaIDGetByUUID(uuid.c_str());
  std::vector<int> handles;
  for (int i = 0; i < 256; ++i) {
    handles.push_back(vdir2DirOpen(id, "dir", 15));
    ASSERT_GE(handles.back(), 0) << i;
  }
  EXPECT_LT(vdir2DirOpen(id, "dir", 15), 0);
  EXPECT_EQ(vdir2DirClose(handles.back(), 5), 0);
  handles.back() = vdir2DirOpen(id, "dir", 15);
  EXPECT_GE(handles.back(), 0);
  for (const int handle : handles) {
    EXPECT_EQ(vdir2DirClose(handle, 5), 0);
  }
}

TEST_F(Vdir2, RegisteringAgainReplacesTheDirectoryAndKeepsTheId) {
  const int id = vdir2MediaIDGetByUUID(uuid.c_str());
  folder.makeFolder("other");
  folder.write("other/new", std::string("new"));
  EXPECT_EQ(vdir2MediaRegister(uuid.c_str(), (folder / "other").c_str()), id);
  EXPECT_EQ(openItem(medium + "/new").code, 0);
  EXPECT_EQ(openItem(medium + "/dir/item").code, 2);
}

TEST_F(Vdir2, OnlyADirectoryWithAUuidCanBeRegistered) {
  EXPECT_LT(vdir2MediaRegister("", folder.path().c_str()), 0);
  EXPECT_LT(vdir2MediaRegister(nullptr, folder.path().c_str()), 0);
  EXPECT_LT(vdir2MediaRegister("no-directory", nullptr), 0);
  EXPECT_LT(vdir2MediaRegister("no-directory", ""), 0);
  EXPECT_LT(vdir2MediaRegister("no-directory", (folder / "none").c_str()), 0);
  EXPECT_LT(vdir2MediaRegister("no-directory", (folder / "outside").c_str()), 0);
  EXPECT_LT(vdir2MediaIDGetByUUID("no-directory"), 0);
  EXPECT_LT(vdir2MediaRegister(uuid.c_str(), (folder / "none").c_str()), 0);
  EXPECT_EQ(openItem(medium + "/dir/item").code, 0) << "the earlier registration stays";
}

TEST_F(Vdir2, ARelativeDirectoryIsTheOneOfTheRegistration) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  const int id = vdir2MediaRegister((uuid + "-relative").c_str(), "medium/dir");
  std::filesystem::current_path(before);
  EXPECT_GE(id, 0);
  EXPECT_EQ(openItem("vdr2://" + uuid + "-relative/item").code, 0);
}

TEST_F(Vdir2, ThreadsUseMediaAtOnce) {
  std::atomic<int> wrong(0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      const std::string own = uuid + "-" + std::to_string(t);
      for (int i = 0; i < 200; ++i) {
        const int id = vdir2MediaRegister(own.c_str(), (folder / "medium").c_str());
        const int handle = vdir2DirOpen(id, "dir", 15);
        wrong += id >= 0 && vdir2MediaIDGetByUUID(own.c_str()) == id && vdir2DirClose(handle, 5) == 0 ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace quorin_test
