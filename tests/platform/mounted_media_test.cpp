#include "media/mounted_media.h"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cctype>
#include <string>

#include "opened_item.h"
#include "support/mounted_medium.h"
#include "support/temporary_folder.h"
#include "vdir2.h"

namespace quorin_test {
namespace {

class MountedMedia : public testing::Test {
 protected:
  void SetUp() override {
    if (!medium.whyNot().empty()) {
      GTEST_SKIP() << medium.whyNot();
    }
    medium.write("dir/item", "mounted");
    if (md::host::mountPointOf(uuid).empty()) {
      GTEST_SKIP() << "devices cannot be looked into here, as under emulation";
    }
  }

  MountedMedium medium;
  const std::string uuid = medium.uuid();
};

TEST_F(MountedMedia, AFileSystemIsFoundByItsUuidInAnyCase) {
  EXPECT_EQ(md::host::mountPointOf(uuid), medium.mountPoint());
  std::string upper = uuid;
  for (char& c : upper) {
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  EXPECT_EQ(md::host::mountPointOf(upper), medium.mountPoint());
  EXPECT_EQ(md::host::mountPointOf(uuid.substr(1) + "a"), "");
}

TEST_F(MountedMedia, AFolderOfItMountedElsewhereDoesNotHideIt) {
  medium.surroundings().makeFolder("bound");
  const std::string bound = medium.surroundings() / "bound";
  ASSERT_EQ(mount((medium.mountPoint() + "/dir").c_str(), bound.c_str(), nullptr, MS_BIND, nullptr), 0);
  EXPECT_EQ(md::host::mountPointOf(uuid), medium.mountPoint());
  ASSERT_EQ(umount(bound.c_str()), 0);
}

TEST_F(MountedMedia, ItsFilesAndDirectoriesOpen) {
  const OpenedItem item = openItem("vdr2://" + uuid + "/dir/item");
  ASSERT_EQ(item.code, 0);
  EXPECT_EQ(readAll(*item.source), "mounted");
  const int id = vdir2MediaIDGetByUUID(uuid.c_str());
  ASSERT_GE(id, 0);
  EXPECT_EQ(vdir2MediaIDGetByUUID(uuid.c_str()), id);
  const int handle = vdir2DirOpen(id, "dir", 15);
  EXPECT_GE(handle, 0);
  EXPECT_EQ(vdir2DirClose(handle, 5), 0);
}

TEST_F(MountedMedia, OnceUnmountedItIsNotFound) {
  ASSERT_TRUE(medium.unmount());
  EXPECT_EQ(md::host::mountPointOf(uuid), "");
  EXPECT_EQ(openItem("vdr2://" + uuid + "/dir/item").code, 2);
}

TEST_F(MountedMedia, ARegisteredMediumOfTheSameUuidWins) {
  const TemporaryFolder registered;
  registered.write("item", std::string("registered"));
  ASSERT_GE(vdir2MediaRegister(uuid.c_str(), registered.path().c_str()), 0);
  const OpenedItem item = openItem("vdr2://" + uuid + "/item");
  ASSERT_EQ(item.code, 0);
  EXPECT_EQ(readAll(*item.source), "registered");
}

TEST(MountPoint, WhatIsNoUuidIsNotLookedFor) {
  for (const char* text : {"", "a b", "../../dev/vda", "UUID=1", "0123-ABCG", "0123\nABCD"}) {
    EXPECT_EQ(md::host::mountPointOf(text), "") << text;
  }
  EXPECT_EQ(md::host::mountPointOf(std::string(65, 'a')), "");
}

}  // namespace
}  // namespace quorin_test
