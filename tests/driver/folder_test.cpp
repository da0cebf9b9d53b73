// Folders by their URIs: of the file system, of registered media, and of a file system that is really mounted.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <filesystem>
#include <stdexcept>

#include "analysis.h"
#include "support/mounted_medium.h"
#include "support/temporary_folder.h"
#include "vdir2.h"

namespace quorin_test {
namespace {

using zu::md::common::quorin::Analyzer;
using zu::md::common::quorin::AnalyzeResult;

void expectFolder(const std::string& uri) {
  const Analysis analysis(uri);
  EXPECT_EQ(analysis.status, 0) << uri;
  EXPECT_EQ(analysis.answer, "application/folder\n") << uri;
  EXPECT_FALSE(analysis.result->strell) << uri;
}

void expectNoFolder(const std::string& uri) { EXPECT_NE(Analysis(uri).answer, "application/folder\n") << uri; }

TEST(DriverFolder, OfTheFileSystemIsAnsweredWithoutOpening) {
  const TemporaryFolder folder;
  for (const std::string& uri : {folder.path(), folder / "", "file:" + folder.path(), "file://" + folder.path(),
                                 "file:///" + folder.path(), "FILE:" + (folder / "")}) {
    expectFolder(uri);
    EXPECT_EQ(Analysis(uri).log, "4000 Analyzer::Impl::analyze() analyze '" + uri + "'.\n" +
                                     "4000 quorin-url-rework.cpp:#:reworkUrl(): called\n" +
                                     "4000 quorin-url-rework.cpp:#:reworkUrl(): done. not translated. '" + uri + "'\n");
  }
}

TEST(DriverFolder, OfAMediumIsAnsweredWithoutOpening) {
  const TemporaryFolder folder;
  folder.makeFolder("Music/Album");
  ASSERT_GE(vdir2MediaRegister("0123-ABCD", folder.path().c_str()), 0);
  for (const char* uri : {"vdr2://0123-ABCD/Music/Album", "VDR2://0123-ABCD/", "vdr2://0123-abcd/Music/"}) {
    expectFolder(uri);
  }
}

TEST(DriverFolder, WhatLeavesTheMediumIsNone) {
  const TemporaryFolder folder;
  std::filesystem::create_directory_symlink("/", folder / "out");
  ASSERT_GE(vdir2MediaRegister("0123-ABCE", folder.path().c_str()), 0);
  for (const char* uri :
       {"vdr2://0123-ABCE/out", "vdr2://0123-ABCE/out/tmp", "vdr2://0123-ABCE/..", "vdr2://0123-ABCE//tmp"}) {
    expectNoFolder(uri);
  }
}

TEST(DriverFolder, AFileOfAMediumIsOpened) {
  const TemporaryFolder folder;
  folder.write("a.txt", std::string("no audio"));
  ASSERT_GE(vdir2MediaRegister("0123-ABCF", folder.path().c_str()), 0);
  const Analysis analysis("vdr2://0123-ABCF/a.txt");
  EXPECT_EQ(analysis.answer, "application/unknown\n");
  EXPECT_TRUE(analysis.result->strell);
  EXPECT_TRUE(analysis.logged("5000 Analyzer::Impl::checkIfFolder() is not vdir2 directory (vdr2://0123-ABCF/a.txt)."));
}

TEST(DriverFolder, OfAMountedFileSystemIsFoundByItsUuid) {
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

TEST(DriverFolder, FileAloneIsAnExceptionOverAFreshResult) {
  zu::md::common::strell::OpenParams params;
  params.uri = "file";
  const auto before = boost::make_shared<AnalyzeResult>();
  boost::shared_ptr<AnalyzeResult> result = before;
  EXPECT_THROW(Analyzer(Analyzer::MODE_AUDIO).analyze(params, result), std::out_of_range);
  ASSERT_TRUE(result);
  EXPECT_NE(result, before);
  EXPECT_FALSE(result->info);
  EXPECT_FALSE(result->strell);
}

}  // namespace
}  // namespace quorin_test
