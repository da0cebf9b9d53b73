#include "scan/file_walk.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "item/item.h"

namespace quorin_command {

namespace {

FileStamp stampOf(const struct stat& status) {
  return {static_cast<long long>(status.st_size), static_cast<long long>(status.st_mtim.tv_sec),
          static_cast<long>(status.st_mtim.tv_nsec)};
}

/// The next name in a folder.
/// @return false at the end, with errno 0, and when it cannot be read (on)
bool readName(DIR* folder, std::string& name) {
  errno = 0;
  while (const dirent* const entry = ::readdir(folder)) {
    const std::string_view found = entry->d_name;
    if (found != "." && found != "..") {
      name = found;
      return true;
    }
  }
  return false;
}

}  // namespace

/// From the folder, while it is open: the kernel need not walk the whole path for each file. Not where the path is too
/// long to be opened.
int FileWalk::statOf(const Folder& folder, const std::string& name, const std::string& path, struct stat& status) {
  if (folder.stream && path.size() < PATH_MAX) {
    return ::fstatat(::dirfd(folder.stream.get()), name.c_str(), &status, 0);
  }
  return ::stat(path.c_str(), &status);
}

FileWalk::FileWalk(std::function<bool(std::string&)> roots, Order order) : roots_(std::move(roots)), order_(order) {}

bool FileWalk::next(FoundItem& item) {
  Step step = Step::GoOn;
  while (step == Step::GoOn) {
    step = folders_.empty() ? stepToRoot(item) : stepInFolder(item);
  }
  return step == Step::Item;
}

/// @return false as `readName` does
bool FileWalk::takeName(Folder& folder, std::string& name) {
  if (folder.stream) {
    return readName(folder.stream.get(), name);
  }
  errno = 0;
  if (folder.names.empty()) {
    return false;
  }
  name = std::move(folder.names.back());
  folder.names.pop_back();
  return true;
}

FileWalk::Step FileWalk::stepInFolder(FoundItem& item) {
  Folder& folder = folders_.back();
  std::string name;
  if (!takeName(folder, name)) {
    return leave(item, errno);
  }
  const std::string path = folder.path + name;
  struct stat status = {};
  const int failed = statOf(folder, name, path, status);
  if (failed != 0) {
    if (errno == ENOENT || errno == ELOOP) {
      return Step::GoOn;  // a link to nowhere or to itself, or a file that has just gone
    }
    item = {path, std::nullopt, unreadable(errno)};
    return Step::Item;
  }
  if (S_ISDIR(status.st_mode)) {
    return leadsUpwards(path, status) ? Step::GoOn : enter(path, status, item);
  }
  if (!S_ISREG(status.st_mode)) {
    return Step::GoOn;
  }
  item = {path, stampOf(status), std::nullopt};
  return Step::Item;
}

FileWalk::Step FileWalk::stepToRoot(FoundItem& item) {
  std::string name;
  if (!roots_(name)) {
    return Step::End;
  }
  struct stat status = {};
  const std::string path = localPath(name);
  const bool isThere = path.find('\0') == std::string::npos && ::stat(path.c_str(), &status) == 0;
  if (isThere && S_ISDIR(status.st_mode)) {
    noteFoldersAround(path);
    return enter(path, status, item);
  }
  item = {name, std::nullopt, std::nullopt};
  if (isThere && !S_ISREG(status.st_mode)) {
    item.error = notAFile();
  } else if (isThere && path == name) {
    item.file = stampOf(status);
  }
  return Step::Item;
}

/// Ends the innermost folder. When that is not the end of its names, the folder is the item.
FileWalk::Step FileWalk::leave(FoundItem& item, int error) {
  item = {std::move(folders_.back().path), std::nullopt, unreadable(error)};
  folders_.pop_back();
  return error == 0 ? Step::GoOn : Step::Item;
}

void FileWalk::noteFoldersAround(const std::string& root) {
  std::error_code error;
  std::filesystem::path folder = std::filesystem::canonical(root, error);
  while (folder.has_relative_path()) {
    folder = folder.parent_path();
    struct stat status = {};
    if (::stat(folder.c_str(), &status) == 0 && !around_.insert(idOf(status)).second) {
      return;  // and so are those around that one
    }
  }
}

/// Whether it is a link to a folder that a root lies in. One that the user names is no such link.
bool FileWalk::leadsUpwards(const std::string& path, const struct stat& status) const {
  struct stat own = {};
  return around_.count(idOf(status)) != 0 && ::lstat(path.c_str(), &own) == 0 && S_ISLNK(own.st_mode);
}

/// Goes on in a folder, unless it was looked into before. When that cannot be done the folder is the item.
FileWalk::Step FileWalk::enter(const std::string& path, const struct stat& status, FoundItem& item) {
  if (!seen_.insert(idOf(status)).second) {
    return Step::GoOn;
  }
  Folder folder{path.back() == '/' ? path : path + '/', Stream(::opendir(path.c_str()), ::closedir), {}};
  if (!folder.stream) {
    item = {path, std::nullopt, unreadable(errno)};
    return Step::Item;
  }
  if (order_ == Order::ByName || folders_.size() >= mostOpen) {
    for (std::string name; readName(folder.stream.get(), name);) {
      folder.names.push_back(std::move(name));
    }
    if (errno != 0) {
      item = {path, std::nullopt, unreadable(errno)};
      return Step::Item;
    }
    folder.stream.reset();
    std::sort(folder.names.begin(), folder.names.end(), std::greater<>());
  }
  folders_.push_back(std::move(folder));
  return Step::GoOn;
}

}  // namespace quorin_command
