#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "file/unique_fd.h"

namespace md::host {

/// The media of this process: those registered, and the mounted ones somebody has asked for. Used by any thread.
class MediaTable {
 public:
  static MediaTable& instance();

  /// @param uuid upper and lower case alike
  /// @return the id, or -1 when no such medium is registered or mounted
  int find(const std::string& uuid);

  /// @param directory relative to the working directory of now
  /// @return the id, or -1 when `uuid` is empty or `directory` is none
  int add(const std::string& uuid, const std::string& directory);

  /// Opens the top directory of a medium, for `openBeneath` alone.
  /// @return empty, with errno, when it cannot be opened or there is no such id
  UniqueFd openTop(int id);

 private:
  /// With the lock held.
  int idOf(const std::string& lowerCasedUuid);

  struct Medium {
    std::string directory;
    bool isRegistered = false;
  };

  std::mutex mutex_;
  std::map<std::string, int> ids_;  ///< by UUID in lower case
  std::vector<Medium> media_;       ///< by id
};

}  // namespace md::host
