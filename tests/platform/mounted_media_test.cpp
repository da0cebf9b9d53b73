#include "media/mounted_media.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "opened_item.h"
#include "support/temporary_folder.h"
#include "vdir2.h"

namespace quorin_test {
namespace {

/// Runs a command of the shell, quietly.
bool run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

/// A UUID that no other test running at this time has, in lower case.
std::string newUuid() {
  std::random_device random;
  char text[37];
  std::snprintf(text, sizeof text, "abcdef%02x-1111-2222-3333-%04x%08x", random() & 0xFFU, random() & 0xFFFFU,
                random());
  return text;
}

/// A file system of its own in a file, mounted where this process alone sees it: whatever happens, it is gone with the
/// process, and the loop device with it.
class MountedMedia : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "only root can mount";
    }
    const std::string image = folder / "image";
    if (!run("truncate -s 8M " + image + " && mkfs.ext4 -q -U " + uuid + " " + image)) {
      GTEST_SKIP() << "mkfs.ext4 cannot make a file system here";
    }
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      GTEST_SKIP() << "no mounts of its own for this process: " << std::strerror(errno);
    }
    folder.makeFolder("mount point/item");
    mountPoint = folder / "mount point";
    mounted = run("mount -o loop '" + image + "' '" + mountPoint + "'");
    if (!mounted) {
      GTEST_SKIP() << "no loop device to mount here";
    }
    folder.makeFolder("mount point/dir");
    folder.write("mount point/dir/item", std::string("mounted"));
    if (md::host::mountPointOf(uuid).empty()) {
      GTEST_SKIP() << "devices cannot be looked into here, as under emulation";
    }
  }

  void TearDown() override {
    if (mounted) {
      EXPECT_EQ(umount(mountPoint.c_str()), 0) << std::strerror(errno);
    }
  }

  const TemporaryFolder folder;
  const std::string uuid = newUuid();
  std::string mountPoint;
  bool mounted = false;
};

TEST_F(MountedMedia, AFileSystemIsFoundByItsUuidInAnyCase) {
  EXPECT_EQ(md::host::mountPointOf(uuid), mountPoint);
  std::string upper = uuid;
  for (char& c : upper) {
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  EXPECT_EQ(md::host::mountPointOf(upper), mountPoint);
  EXPECT_EQ(md::host::mountPointOf(uuid.substr(1) + "a"), "");
}

TEST_F(MountedMedia, AFolderOfItMountedElsewhereDoesNotHideIt) {
  folder.makeFolder("bound");
  const std::string bound = folder / "bound";
  ASSERT_EQ(mount((mountPoint + "/dir").c_str(), bound.c_str(), nullptr, MS_BIND, nullptr), 0);
  EXPECT_EQ(md::host::mountPointOf(uuid), mountPoint);
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
  ASSERT_EQ(umount(mountPoint.c_str()), 0);
  mounted = false;
  EXPECT_EQ(md::host::mountPointOf(uuid), "");
  EXPECT_EQ(openItem("vdr2://" + uuid + "/dir/item").code, 2);
}

TEST_F(MountedMedia, ARegisteredMediumOfTheSameUuidWins) {
  folder.makeFolder("registered");
  folder.write("registered/item", std::string("registered"));
  ASSERT_GE(vdir2MediaRegister(uuid.c_str(), (folder / "registered").c_str()), 0);
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
