#include "redirect/folder.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <vector>

#include "quorin/info.h"
#include "support/log_capture.h"
#include "vdir2.h"

namespace {

/// What the media layer answers, and what it was asked.
struct ScriptedMedia {
  int mediaId = -1;
  int handle = -1;
  std::vector<std::string> calls;
};
ScriptedMedia media;

}  // namespace

// The media layer of this test program, in front of the platform's.

int vdir2MediaIDGetByUUID(const char* uuid) {
  media.calls.push_back("find " + std::string(uuid));
  return media.mediaId;
}

int vdir2DirOpen(int mediaId, const char* path, int mode) {
  media.calls.push_back("open " + std::to_string(mediaId) + " '" + path + "' " + std::to_string(mode));
  return media.handle;
}

int vdir2DirClose(int handle, int mode) {
  media.calls.push_back("close " + std::to_string(handle) + ' ' + std::to_string(mode));
  return 0;
}

namespace quorin_test {
namespace {

using zu::md::common::quorin::AnalyzeResult;
using zu::md::common::quorin::checkIfFolder;
using zu::md::common::quorin::Info;
using zu::md::common::strell::OpenParams;

using Calls = std::vector<std::string>;

class Folder : public testing::Test {
 protected:
  Folder() {
    media = ScriptedMedia();
    std::string name = testing::TempDir() + "folder_test_XXXXXX";
    directory_ = mkdtemp(name.data());
    std::ofstream(directory_ + "/song.mp3") << "x";
  }

  ~Folder() override { std::filesystem::remove_all(directory_); }

  /// Whether the URI is answered with a folder; any other answer fails the test.
  static bool isFolder(const std::string& uri) {
    OpenParams params;
    params.uri = uri;
    AnalyzeResult result;
    checkIfFolder(params, result);
    EXPECT_FALSE(result.strell);
    if (!result.info) {
      return false;
    }
    const Info& info = *result.info;
    EXPECT_EQ(typeid(info), typeid(Info));
    EXPECT_EQ(info.mimeType, "application/folder");
    return true;
  }

  std::string directory_;  ///< absolute; holds song.mp3
};

TEST_F(Folder, OfAMediumIsFoundByUuidAndPath) {
  media.mediaId = 7;
  media.handle = 3;
  const LogCapture log;
  EXPECT_TRUE(isFolder("vdr2://0123-ABCD/Music/Album"));
  EXPECT_EQ(media.calls, (Calls{"find 0123-ABCD", "open 7 'Music/Album' 15", "close 3 5"}));
  EXPECT_EQ(log.dump(), "");
}

TEST_F(Folder, OfAMediumIgnoresTheCaseOfTheScheme) {
  media.mediaId = 0;
  media.handle = 0;
  EXPECT_TRUE(isFolder("VDR2://0123-ABCD/"));
  EXPECT_EQ(media.calls, (Calls{"find 0123-ABCD", "open 0 '' 15", "close 0 5"}));
}

TEST_F(Folder, OfAMediumKeepsFurtherSlashesInThePath) {
  media.mediaId = 1;
  media.handle = 1;
  EXPECT_TRUE(isFolder("vdr2:////a/"));
  EXPECT_EQ(media.calls, (Calls{"find ", "open 1 '/a/' 15", "close 1 5"}));
}

TEST_F(Folder, OfAMediumNeedsASlashBehindTheUuid) {
  const LogCapture log;
  EXPECT_FALSE(isFolder("vdr2://0123-ABCD"));
  EXPECT_FALSE(isFolder("vdr2://"));
  EXPECT_EQ(media.calls, Calls());
  EXPECT_EQ(log.dump(),
            "3000 Analyzer::Impl::checkIfFolder() no vdr2 uri=vdr2://0123-ABCD.\n"
            "3000 Analyzer::Impl::checkIfFolder() no vdr2 uri=vdr2://.\n");
}

TEST_F(Folder, OfAnUnknownMediumIsNone) {
  const LogCapture log;
  EXPECT_FALSE(isFolder("vdr2://0123-ABCD/Music"));
  EXPECT_EQ(media.calls, Calls{"find 0123-ABCD"});
  EXPECT_EQ(log.dump(),
            "3000 Analyzer::Impl::checkIfFolder() could not dertermine vdir2 media id for UUID(0123-ABCD).\n");
}

TEST_F(Folder, AFileOfAMediumIsNone) {
  media.mediaId = 2;
  const LogCapture log;
  EXPECT_FALSE(isFolder("vdr2://0123-ABCD/song.mp3"));
  EXPECT_EQ(media.calls, (Calls{"find 0123-ABCD", "open 2 'song.mp3' 15"}));
  EXPECT_EQ(log.dump(), "5000 Analyzer::Impl::checkIfFolder() is not vdir2 directory (vdr2://0123-ABCD/song.mp3).\n");
}

TEST_F(Folder, OfAFileUriIsWhatStandsBehindTheColon) {
  const LogCapture log;
  EXPECT_TRUE(isFolder("file://" + directory_));
  EXPECT_TRUE(isFolder("file:" + directory_));
  EXPECT_TRUE(isFolder("FILE:" + directory_ + "/"));
  EXPECT_TRUE(isFolder("file:///tmp"));  // "//tmp"
  EXPECT_TRUE(isFolder("file:."));
  EXPECT_EQ(log.dump(), "");
}

TEST_F(Folder, OfAFileUriDoesNotAskForTheColon) {
  EXPECT_TRUE(isFolder("file/" + directory_));
  EXPECT_TRUE(isFolder("filex" + directory_));
}

TEST_F(Folder, AFileUriOfAFileOrNothingIsNone) {
  const LogCapture log;
  EXPECT_FALSE(isFolder("file:" + directory_ + "/song.mp3"));
  EXPECT_FALSE(isFolder("file:" + directory_ + "/missing"));
  EXPECT_FALSE(isFolder("file:"));
  EXPECT_FALSE(isFolder("file://host" + directory_));
  EXPECT_EQ(log.dump(), "");
}

TEST_F(Folder, AFileUriIsNotDecoded) {
  std::filesystem::create_directory(directory_ + "/a b");
  EXPECT_TRUE(isFolder("file:" + directory_ + "/a b"));
  EXPECT_FALSE(isFolder("file:" + directory_ + "/a%20b"));
}

TEST_F(Folder, TheFourCharactersFileAreOutOfRange) {
  OpenParams params;
  for (const char* uri : {"file", "FILE"}) {
    params.uri = uri;
    AnalyzeResult result;
    EXPECT_THROW(checkIfFolder(params, result), std::out_of_range);
    EXPECT_FALSE(result.info);
  }
}

TEST_F(Folder, AnAbsolutePathOfADirectoryIsOne) {
  const LogCapture log;
  EXPECT_TRUE(isFolder(directory_));
  EXPECT_TRUE(isFolder(directory_ + "/"));
  EXPECT_TRUE(isFolder("/"));
  EXPECT_FALSE(isFolder(directory_ + "/song.mp3"));
  EXPECT_FALSE(isFolder(directory_ + "/missing"));
  EXPECT_EQ(log.dump(), "");
}

TEST_F(Folder, IsWhatCanBeOpenedAsADirectory) {
  std::filesystem::create_directory(directory_ + "/album");
  std::filesystem::create_directory_symlink("album", directory_ + "/to-album");
  std::filesystem::create_symlink("song.mp3", directory_ + "/to-song");
  std::filesystem::create_symlink("nowhere", directory_ + "/to-nowhere");
  std::filesystem::create_symlink("to-itself", directory_ + "/to-itself");
  ASSERT_EQ(mkfifo((directory_ + "/pipe").c_str(), 0600), 0);
  std::filesystem::create_directory(directory_ + "/closed");
  std::filesystem::permissions(directory_ + "/closed", std::filesystem::perms::none);
  std::vector<std::string> paths;
  for (const char* name :
       {"",           "/album",     "/album/",     "/album/.",    "/album/..", "/to-album", "/to-album/",
        "/song.mp3",  "/song.mp3/", "/song.mp3/.", "/song.mp3/x", "/to-song",  "/to-song/", "/to-nowhere",
        "/to-itself", "/pipe",      "/pipe/",      "/closed",     "/closed/x", "/missing",  "/missing/"}) {
    paths.push_back(directory_ + name);
  }
  paths.push_back(directory_ + "/album" + std::string("\0/x", 3));
  paths.push_back(directory_ + "/song.mp3" + std::string("\0/x", 3));
  constexpr size_t tooLong = PATH_MAX;  // with the NUL behind it
  for (const char* end : {"/album", "/song.mp3"}) {
    for (size_t length : {tooLong - 3, tooLong - 2, tooLong - 1, tooLong, tooLong + 1, 4 * tooLong}) {
      const size_t missing = length - directory_.size() - std::strlen(end);
      paths.push_back(directory_ + std::string(missing, '/') + end);
      ASSERT_EQ(paths.back().size(), length);
    }
  }
  int folders = 0;
  for (const std::string& path : paths) {
    const std::unique_ptr<DIR, int (*)(DIR*)> opened(opendir(path.c_str()), closedir);
    EXPECT_EQ(isFolder(path), opened != nullptr) << path;
    folders += opened != nullptr ? 1 : 0;
  }
  EXPECT_GE(folders, 11);
  std::filesystem::permissions(directory_ + "/closed", std::filesystem::perms::owner_all);
}

TEST_F(Folder, NothingElseIsLookedAt) {
  const LogCapture log;
  for (const char* uri : {"", "http://host/", "rtsp://host/tmp", ".", "tmp", "fil", "vdr2:/", "x-file:/tmp"}) {
    EXPECT_FALSE(isFolder(uri)) << uri;
  }
  EXPECT_EQ(media.calls, Calls());
  EXPECT_EQ(log.dump(), "");
}

TEST_F(Folder, EveryDirectoryIsClosedAgain) {
  const auto openFiles = [] {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
  };
  const auto before = openFiles();
  for (int i = 0; i < 10; ++i) {
    EXPECT_TRUE(isFolder(directory_));
    EXPECT_TRUE(isFolder("file:" + directory_));
  }
  EXPECT_EQ(openFiles(), before);
}

TEST_F(Folder, AnyTextIsTaken) {
  std::mt19937 random(11);
  static const char* const beginnings[] = {"vdr2://", "file:", "/", "vdr2://a/", ""};
  for (int round = 0; round < 2000; ++round) {
    std::string uri = beginnings[random() % std::size(beginnings)];
    for (auto n = 1 + random() % 12; n != 0; --n) {
      uri += static_cast<char>(random());
    }
    isFolder(uri);
  }
}

}  // namespace
}  // namespace quorin_test
