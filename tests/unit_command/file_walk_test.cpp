#include "scan/file_walk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/temporary_folder.h"

namespace quorin_command {
namespace {

using quorin_test::TemporaryFolder;

FileWalk walkOf(const std::string& root, FileWalk::Order order) {
  return FileWalk(
      [root, isTaken = false](std::string& name) mutable {
        name = root;
        return !std::exchange(isTaken, true);
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
  FileWalk walk = walkOf(folder.path(), FileWalk::Order::ByName);
  EXPECT_EQ(namesOf(walk), (std::vector<std::string>{folder / "B", folder / "a", folder / "b", folder / "\xff"}));
}

TEST(FileWalk, NamesAreAskedForAsTheyAreNeeded) {
  const TemporaryFolder folder;
  folder.write("a", std::string());
  folder.write("b", std::string());
  const long before = openFolders();
  FoundItem item;
  FileWalk asTheyCome = walkOf(folder.path(), FileWalk::Order::Any);
  EXPECT_TRUE(asTheyCome.next(item));
  EXPECT_EQ(openFolders(), before + 1);
  FileWalk byName = walkOf(folder.path(), FileWalk::Order::ByName);
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
  FileWalk walk = walkOf(folder.path(), FileWalk::Order::Any);
  for (FoundItem item; walk.next(item);) {
    names.push_back(item.name);
    most = std::max(most, openFolders());
  }
  std::sort(names.begin(), names.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(names, expected);
  EXPECT_LE(most, before + static_cast<long>(FileWalk::mostOpen));
}

}  // namespace
}  // namespace quorin_command
