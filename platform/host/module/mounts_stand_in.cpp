#include "media/mounted_media.h"
#include "module/entries.h"
#include "module/module.h"

namespace md::host {

std::string mountPointOf(const std::string& uuid) {
  const auto entry =
      reinterpret_cast<decltype(&mdHostMountPointOf)>(moduleFunction(QUORIN_MODULE, "mdHostMountPointOf"));
  std::string mountPoint;
  if (entry != nullptr) {
    entry(uuid, mountPoint);
  }
  return mountPoint;
}

}  // namespace md::host
