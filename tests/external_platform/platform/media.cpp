#include <mutex>
#include <set>
#include <vector>

#include "items.h"
#include "vdir2.h"

namespace {

constexpr int refused = -1;

struct Medium {
  std::string uuid;
  std::string directory;
};

std::mutex guard;
std::vector<Medium> media;  ///< the index is the id
std::set<int> openDirectories;
int nextHandle = 1;

/// With the lock held. @return -1 when there is none
int idOf(const std::string& uuid) {
  for (size_t id = 0; id < media.size(); ++id) {
    if (media[id].uuid == memory_platform::lowered(uuid)) {
      return static_cast<int>(id);
    }
  }
  return refused;
}

bool staysInside(const std::string& path) {
  const std::string framed = "/" + path + "/";
  return (path.empty() || path[0] != '/') && framed.find("/../") == std::string::npos;
}

/// With the lock held. @return empty when the path would leave its medium
std::string pathBeneath(int id, const std::string& path) {
  const bool isSound = id >= 0 && id < static_cast<int>(media.size()) && staysInside(path);
  return isSound ? media[static_cast<size_t>(id)].directory + "/" + path : std::string();
}

}  // namespace

std::string memory_platform::pathOnMedium(const std::string& name) {
  const size_t slash = name.find('/');
  if (slash == std::string::npos) {
    return std::string();
  }
  const std::lock_guard<std::mutex> lock(guard);
  return pathBeneath(idOf(name.substr(0, slash)), name.substr(slash + 1));
}

int vdir2MediaIDGetByUUID(const char* uuid) {
  const std::lock_guard<std::mutex> lock(guard);
  return idOf(uuid);
}

int vdir2DirOpen(int mediaId, const char* path, int) {
  const std::lock_guard<std::mutex> lock(guard);
  const std::string directory = pathBeneath(mediaId, path);
  if (directory.empty() || !memory_platform::isDirectory(directory)) {
    return refused;
  }
  openDirectories.insert(nextHandle);
  return nextHandle++;
}

int vdir2DirClose(int handle, int) {
  const std::lock_guard<std::mutex> lock(guard);
  return openDirectories.erase(handle) != 0 ? 0 : refused;
}

int vdir2MediaRegister(const char* uuid, const char* directory) {
  if (*uuid == '\0' || !memory_platform::isDirectory(directory)) {
    return refused;
  }
  const std::lock_guard<std::mutex> lock(guard);
  const int known = idOf(uuid);
  if (known >= 0) {
    media[static_cast<size_t>(known)].directory = directory;
    return known;
  }
  media.push_back({memory_platform::lowered(uuid), directory});
  return static_cast<int>(media.size()) - 1;
}
