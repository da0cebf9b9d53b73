#include "vdir2.h"

#include <fcntl.h>

#include <cerrno>
#include <climits>
#include <map>
#include <mutex>
#include <utility>

#include "file/file_source.h"
#include "file/unique_fd.h"
#include "media/media_table.h"
#include "media/open_beneath.h"
#include "url/openers.h"

namespace {

using md::host::MediaTable;
using md::host::UniqueFd;

/// Directories open at a time. Callers open one to see that it is one and close it; more than this is a leak of theirs,
/// which must not take the descriptors that items need.
constexpr size_t mostOpenDirectories = 256;

/// The open directories. A handle is not given out again before the count has gone round, so that one closed twice does
/// not close a directory of somebody else.
class Directories {
 public:
  static Directories& instance() {
    static Directories& directories = *new Directories;
    return directories;
  }

  /// @return the handle, or -1 when too many are open
  int add(UniqueFd directory) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (open_.size() >= mostOpenDirectories) {
      return -1;
    }
    while (open_.count(next_) != 0) {
      advance();
    }
    const int handle = next_;
    open_.emplace(handle, std::move(directory));
    advance();
    return handle;
  }

  bool remove(int handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return open_.erase(handle) != 0;
  }

 private:
  void advance() { next_ = next_ == INT_MAX ? 0 : next_ + 1; }

  std::mutex mutex_;
  std::map<int, UniqueFd> open_;
  int next_ = 0;
};

}  // namespace

int vdir2MediaIDGetByUUID(const char* uuid) {
  const int id = uuid == nullptr ? -1 : MediaTable::instance().find(uuid);
  return id < 0 ? -md::host::OPEN_NOT_FOUND : id;
}

int vdir2DirOpen(int mediaId, const char* path, int) {
  if (path == nullptr) {
    return -md::host::OPEN_BAD_URI;
  }
  const UniqueFd top = MediaTable::instance().openTop(mediaId);
  UniqueFd directory(top ? md::host::openBeneath(top.get(), path, O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1);
  if (!directory) {
    return -md::host::openCodeOf(errno);
  }
  const int handle = Directories::instance().add(std::move(directory));
  return handle < 0 ? -md::host::OPEN_BUSY : handle;
}

int vdir2DirClose(int handle, int) { return Directories::instance().remove(handle) ? 0 : -md::host::OPEN_BAD_URI; }

int vdir2MediaRegister(const char* uuid, const char* directory) {
  const int id = uuid == nullptr || directory == nullptr ? -1 : MediaTable::instance().add(uuid, directory);
  return id < 0 ? -md::host::OPEN_BAD_URI : id;
}
