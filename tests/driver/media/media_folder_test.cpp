// Folders of media by their URIs: of registered media, and of a file system that is really mounted.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "driver/folder_answer.h"
#include "support/mounted_medium.h"
#include "support/temporary_folder.h"
#include "vdir2.h"

namespace quorin_test {
namespace {

TEST(DriverMedia, OfAMediumIsAnsweredWithoutOpening) {
  const TemporaryFolder folder;
  folder.makeFolder("Music/Album");
  ASSERT_GE(vdir2MediaRegister("0123-ABCD", folder.path().c_str()), 0);
  for (const char* uri : {"vdr2://0123-ABCD/Music/Album", "VDR2://0123-ABCD/", "vdr2://0123-abcd/Music/"}) {
    expectFolder(uri);
  }
}

TEST(DriverMedia, WhatLeavesTheMediumIsNone) {
  const TemporaryFolder folder;
  std::filesystem::create_directory_symlink("/", folder / "out");
  ASSERT_GE(vdir2MediaRegister("0123-ABCE", folder.path().c_str()), 0);
  for (const char* uri :
       {"vdr2://0123-ABCE/out", "vdr2://0123-ABCE/out/tmp", "vdr2://0123-ABCE/..", "vdr2://0123-ABCE//tmp"}) {
    expectNoFolder(uri);
  }
}

TEST(DriverMedia, AFileOfAMediumIsOpened) {
  const TemporaryFolder folder;
  folder.write("a.txt", std::string("no audio"));
  ASSERT_GE(vdir2MediaRegister("0123-ABCF", folder.path().c_str()), 0);
  const Analysis analysis("vdr2://0123-ABCF/a.txt");
  EXPECT_EQ(analysis.answer, "application/unknown\n");
  EXPECT_TRUE(analysis.result->strell);
  EXPECT_TRUE(analysis.logged("5000 Analyzer::Impl::checkIfFolder() is not vdir2 directory (vdr2://0123-ABCF/a.txt)."));
}

TEST(DriverMedia, OfAMountedFileSystemIsFoundByItsUuid) {
  MountedMedium medium;
  if (!medium.whyNot().empty()) {
    GTEST_SKIP() << medium.whyNot();
  }
  medium.write("Album/a.txt", "no audio");
  std::filesystem::create_directory_symlink(medium.surroundings().path(), medium.mountPoint() + "/out");
  std::filesystem::create_directory_symlink("Album", medium.mountPoint() + "/in");
  const std::string root = "vdr2://" + medium.uuid() + "/";
  if (vdir2MediaIDGetByUUID(medium.uuid().c_str()) < 0) {
    GTEST_SKIP() << "devices cannot be looked into here, as under emulation";
  }
  expectFolder(root);
  expectFolder(root + "Album");
  expectFolder(root + "in");
  expectNoFolder(root + "out");
  expectNoFolder(root + "out/mount point");
  expectNoFolder(root + "Album/..//..");
  expectNoFolder(root + "Album/a.txt");
  EXPECT_TRUE(Analysis(root + "in/a.txt").result->strell);
  EXPECT_FALSE(Analysis(root + "out/image").result->strell);
  ASSERT_TRUE(medium.unmount());
  expectNoFolder(root);
}

}  // namespace
}  // namespace quorin_test
