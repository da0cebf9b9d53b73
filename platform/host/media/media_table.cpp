#include "media/media_table.h"

#include <fcntl.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "media/mounted_media.h"
#include "text/ascii.h"

namespace md::host {

MediaTable& MediaTable::instance() {
  static MediaTable& table = *new MediaTable;  // items may be opened while statics are destroyed
  return table;
}

int MediaTable::find(const std::string& uuid) {
  const std::string key = lowerCased(uuid);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto known = ids_.find(key);
    if (known != ids_.end() && media_[static_cast<size_t>(known->second)].isRegistered) {
      return known->second;
    }
  }
  // Asked anew each time, because a medium may come back elsewhere; without the lock, because it may look into devices.
  const std::string mountPoint = mountPointOf(uuid);
  if (mountPoint.empty()) {
    return -1;
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  const int id = idOf(key);
  Medium& medium = media_[static_cast<size_t>(id)];
  if (!medium.isRegistered) {
    medium.directory = mountPoint;
  }
  return id;
}

int MediaTable::add(const std::string& uuid, const std::string& directory) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(directory, error);
  if (uuid.empty() || error || !std::filesystem::is_directory(absolute, error)) {
    return -1;
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  const int id = idOf(lowerCased(uuid));
  media_[static_cast<size_t>(id)] = {absolute.string(), true};
  return id;
}

UniqueFd MediaTable::openTop(int id) {
  std::string directory;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (id < 0 || static_cast<size_t>(id) >= media_.size()) {
      errno = ENOENT;
      return UniqueFd();
    }
    directory = media_[static_cast<size_t>(id)].directory;
  }
  return UniqueFd(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

int MediaTable::idOf(const std::string& lowerCasedUuid) {
  const auto [entry, isNew] = ids_.try_emplace(lowerCasedUuid, static_cast<int>(media_.size()));
  if (isNew) {
    media_.emplace_back();
  }
  return entry->second;
}

}  // namespace md::host
