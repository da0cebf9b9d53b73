#include "scan/file_walk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/temporary_folder.h"

namespace quorin_command {
namespace {

using quorin_test::TemporaryFolder;

FileWalk walkOf(std::vector<std::string> roots, FileWalk::Order order) {
  return FileWalk(
      [roots = std::move(roots), taken = size_t{0}](std::string& name) mutable {
        if (taken == roots.size()) {
          return false;
        }
        name = roots[taken++];
        return true;
      },
      order);
}

std::vector<std::string> namesOf(FileWalk& walk) {
  std::vector<std::string> names;
  for (FoundItem item; walk.next(item);) {
    names.push_back(item.name);
  }
  return names;
}

/// Descriptors of this process that folders are open by.
long openFolders() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return std::count_if(begin(descriptors), end(descriptors), [](const std::filesystem::directory_entry& entry) {
    std::error_code error;
    return std::filesystem::is_directory(std::filesystem::read_symlink(entry, error), error);
  });
}

TEST(FileWalk, ByNameIsInTheOrderOfBytes) {
  const TemporaryFolder folder;
  for (const char* const name : {"b", "a", "B", "\xff"}) {
    folder.write(name, std::string());
  }
  FileWalk walk = walkOf({folder.path()}, FileWalk::Order::ByName);
  EXPECT_EQ(namesOf(walk), (std::vector<std::string>{folder / "B", folder / "a", folder / "b", folder / "\xff"}));
}

TEST(FileWalk, NamesAreAskedForAsTheyAreNeeded) {
  const TemporaryFolder folder;
  folder.write("a", std::string());
  folder.write("b", std::string());
  const long before = openFolders();
  FoundItem item;
  FileWalk asTheyCome = walkOf({folder.path()}, FileWalk::Order::Any);
  EXPECT_TRUE(asTheyCome.next(item));
  EXPECT_EQ(openFolders(), before + 1);
  FileWalk byName = walkOf({folder.path()}, FileWalk::Order::ByName);
  EXPECT_TRUE(byName.next(item));
  EXPECT_EQ(openFolders(), before + 1);
}

TEST(FileWalk, DeepFoldersAreNotHeldOpen) {
  const TemporaryFolder folder;
  std::string deep = "d";
  std::vector<std::string> expected;
  for (size_t depth = 0; depth < FileWalk::mostOpen + 20; ++depth) {
    folder.makeFolder(deep);
    expected.push_back(folder.write(deep + "/file", std::string()));
    deep += "/d";
  }
  const long before = openFolders();
  long most = 0;
  std::vector<std::string> names;
  FileWalk walk = walkOf({folder.path()}, FileWalk::Order::Any);
  for (FoundItem item; walk.next(item);) {
    names.push_back(item.name);
    most = std::max(most, openFolders());
  }
  std::sort(names.begin(), names.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(names, expected);
  EXPECT_LE(most, before + static_cast<long>(FileWalk::mostOpen));
}

/// Folders in folders with a file each: a, a/b, a/b/c.
class FileWalkUpwards : public testing::Test {
 protected:
  FileWalkUpwards() {
    for (const char* const name : {"a", "a/b", "a/b/c"}) {
      folder_.makeFolder(name);
      files_.push_back(folder_.write(std::string(name) + "/file", std::string()));
    }
  }

  void link(const std::string& name, const std::string& target) {
    std::filesystem::create_directory_symlink(target, folder_ / name);
  }

  static std::vector<std::string> found(std::vector<std::string> roots) {
    FileWalk walk = walkOf(std::move(roots), FileWalk::Order::ByName);
    return namesOf(walk);
  }

  TemporaryFolder folder_;
  std::vector<std::string> files_;
};

TEST_F(FileWalkUpwards, NoLinkIsFollowed) {
  link("a/b/c/parent", "..");
  link("a/b/c/further", folder_ / "a");
  EXPECT_EQ(found({folder_ / "a/b/c"}), std::vector<std::string>{files_[2]});
}

TEST_F(FileWalkUpwards, NorFromARootThatIsALinkItself) {
  link("named", "a/b/c");
  link("a/b/c/up", "../..");
  EXPECT_EQ(found({folder_ / "named"}), std::vector<std::string>{folder_ / "named/file"});
}

TEST_F(FileWalkUpwards, SidewaysAndDownwardsTheyAre) {
  folder_.makeFolder("a/beside");
  folder_.write("a/beside/file", std::string());
  link("a/b/link", "../beside");
  EXPECT_EQ(found({folder_ / "a/b"}), (std::vector<std::string>{files_[2], files_[1], folder_ / "a/b/link/file"}));
}

TEST_F(FileWalkUpwards, WhatIsNamedIsLookedIntoAlsoAroundAnotherRoot) {
  link("a/b/c/up", "../..");
  EXPECT_EQ(found({folder_ / "a/b/c", folder_ / "a"}), (std::vector<std::string>{files_[2], files_[1], files_[0]}));
}

}  // namespace
}  // namespace quorin_command
