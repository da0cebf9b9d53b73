#pragma once

#include <dirent.h>
#include <sys/stat.h>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "item/errors.h"
#include "item/record.h"

namespace quorin_command {

/// Something to analyse, or something that cannot be looked at.
struct FoundItem {
  std::string name;
  std::optional<FileStamp> file;   ///< of a regular file
  std::optional<ItemError> error;  ///< why it cannot be looked at
};

/// Walks folders, one at a time. A folder is looked into once, however many links lead there; so no link can make a
/// walk endless. Nor does a link lead to a folder around a root, which would make a scan of one album that of the whole
/// machine. In folders only regular files count, linked ones included.
class FileWalk {
 public:
  enum class Order {
    Any,    ///< as the file system tells the names, which takes no memory however many there are in a folder
    ByName  ///< of the bytes of the names; those of the folders on the way are held
  };

  /// Folders that are held open, at most. In deeper ones the names are held instead: descriptors are few.
  static constexpr size_t mostOpen = 64;

  /// @param roots takes the next name to begin with; returns false at the end. What is no folder is an item itself.
  FileWalk(std::function<bool(std::string&)> roots, Order order);

  /// @return false at the end
  bool next(FoundItem& item);

 private:
  using Stream = std::unique_ptr<DIR, int (*)(DIR*)>;

  struct Folder {
    std::string path;                ///< with a slash at its end
    Stream stream;                   ///< null where the names are held
    std::vector<std::string> names;  ///< still to be looked at, the next one last
  };

  enum class Step { Item, GoOn, End };

  using FolderId = std::pair<dev_t, ino_t>;

  static FolderId idOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }
  static bool takeName(Folder& folder, std::string& name);
  static int statOf(const Folder& folder, const std::string& name, const std::string& path, struct stat& status);
  Step stepInFolder(FoundItem& item);
  Step stepToRoot(FoundItem& item);
  Step leave(FoundItem& item, int error);
  void noteFoldersAround(const std::string& root);
  bool leadsUpwards(const std::string& path, const struct stat& status) const;
  Step enter(const std::string& path, const struct stat& status, FoundItem& item);

  std::function<bool(std::string&)> roots_;
  const Order order_;
  std::vector<Folder> folders_;  ///< from the root to where the walk is
  std::set<FolderId> seen_;
  std::set<FolderId> around_;  ///< all that a root lies in
};

}  // namespace quorin_command
