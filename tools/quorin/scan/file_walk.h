#pragma once

#include <sys/stat.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "item/record.h"

namespace quorin_command {

/// Something to analyse, or something that cannot be looked at.
struct FoundItem {
  std::string name;
  std::optional<FileStamp> file;  ///< of a regular file
  int error = 0;                  ///< why it cannot be looked at, as errno
};

/// Walks folders, one at a time and in the order of their names' bytes. A folder is looked into once, however many
/// links lead there; so no link can make a walk endless. In folders only regular files count, linked ones included.
class FileWalk {
 public:
  /// @param roots takes the next name to begin with; returns false at the end. What is no folder is an item itself.
  explicit FileWalk(std::function<bool(std::string&)> roots);

  /// @return false at the end
  bool next(FoundItem& item);

 private:
  struct Folder {
    std::string path;
    std::vector<std::string> names;  ///< still to be looked at, the next one last
  };

  enum class Step { Item, GoOn, End };

  Step stepInFolder(FoundItem& item);
  Step stepToRoot(FoundItem& item);
  Step enter(const std::string& path, const struct stat& status, FoundItem& item);

  std::function<bool(std::string&)> roots_;
  std::vector<Folder> folders_;  ///< from the root to where the walk is
  std::set<std::pair<dev_t, ino_t>> seen_;
};

}  // namespace quorin_command
