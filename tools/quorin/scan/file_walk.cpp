#include "scan/file_walk.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "item/item.h"

namespace quorin_command {

namespace {

FileStamp stampOf(const struct stat& status) {
  return {static_cast<long long>(status.st_size), static_cast<long long>(status.st_mtim.tv_sec),
          static_cast<long>(status.st_mtim.tv_nsec)};
}

/// The names in a folder, the first one last; fails with errno.
bool readNames(const std::string& path, std::vector<std::string>& names) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path.c_str()), ::closedir);
  if (!folder) {
    return false;
  }
  errno = 0;
  while (const dirent* const entry = ::readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") {
      names.push_back(name);
    }
    errno = 0;
  }
  std::sort(names.begin(), names.end(), std::greater<>());
  return errno == 0;
}

}  // namespace

FileWalk::FileWalk(std::function<bool(std::string&)> roots) : roots_(std::move(roots)) {}

bool FileWalk::next(FoundItem& item) {
  Step step = Step::GoOn;
  while (step == Step::GoOn) {
    step = folders_.empty() ? stepToRoot(item) : stepInFolder(item);
  }
  return step == Step::Item;
}

FileWalk::Step FileWalk::stepInFolder(FoundItem& item) {
  Folder& folder = folders_.back();
  if (folder.names.empty()) {
    folders_.pop_back();
    return Step::GoOn;
  }
  const std::string path = folder.path + folder.names.back();
  folder.names.pop_back();
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ELOOP) {
      return Step::GoOn;  // a link to nowhere or to itself, or a file that has just gone
    }
    item = {path, std::nullopt, errno};
    return Step::Item;
  }
  if (S_ISDIR(status.st_mode)) {
    return enter(path, status, item);
  }
  if (!S_ISREG(status.st_mode)) {
    return Step::GoOn;
  }
  item = {path, stampOf(status), 0};
  return Step::Item;
}

FileWalk::Step FileWalk::stepToRoot(FoundItem& item) {
  std::string name;
  if (!roots_(name)) {
    return Step::End;
  }
  struct stat status = {};
  const bool isPath = schemeOf(name).empty() || uriOf(name) != name;
  const bool isThere = isPath && name.find('\0') == std::string::npos && ::stat(name.c_str(), &status) == 0;
  if (isThere && S_ISDIR(status.st_mode)) {
    return enter(name, status, item);
  }
  const bool isRegular = isThere && S_ISREG(status.st_mode);
  item = {name, isRegular ? std::optional<FileStamp>(stampOf(status)) : std::nullopt, 0};
  return Step::Item;
}

/// Goes on in a folder, unless it was looked into before. When that cannot be done the folder is the item.
FileWalk::Step FileWalk::enter(const std::string& path, const struct stat& status, FoundItem& item) {
  if (!seen_.insert({status.st_dev, status.st_ino}).second) {
    return Step::GoOn;
  }
  Folder folder{path.back() == '/' ? path : path + '/', {}};
  if (!readNames(path, folder.names)) {
    item = {path, std::nullopt, errno};
    return Step::Item;
  }
  folders_.push_back(std::move(folder));
  return Step::GoOn;
}

}  // namespace quorin_command
