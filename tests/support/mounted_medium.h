#pragma once

#include <string>

#include "support/temporary_folder.h"

namespace quorin_test {

/// A real file system in a file, mounted where this process alone sees it: whatever happens, it is gone with the
/// process, and the loop device with it. It takes root and loop devices; where they are missing, `whyNot` says so and
/// the test skips.
class MountedMedium {
 public:
  MountedMedium();
  ~MountedMedium();
  MountedMedium(const MountedMedium&) = delete;
  MountedMedium& operator=(const MountedMedium&) = delete;

  /// Why there is none; empty when it is mounted.
  const std::string& whyNot() const { return whyNot_; }

  const std::string& uuid() const { return uuid_; }                ///< in lower case
  const std::string& mountPoint() const { return mountPoint_; }    ///< a path with a blank
  const TemporaryFolder& surroundings() const { return folder_; }  ///< holds the mount point

  /// Writes a file on it, with the folders above.
  void write(const std::string& name, const std::string& text) const;

  bool unmount();

 private:
  std::string mounted();

  TemporaryFolder folder_;
  std::string uuid_;
  std::string mountPoint_;
  std::string whyNot_;
};

}  // namespace quorin_test
