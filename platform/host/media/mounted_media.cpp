#include "media/mounted_media.h"

#include <libmount/libmount.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

#include "text/ascii.h"

namespace md::host {

namespace {

/// Longer than the UUID of any file system: 36 characters for most, 9 for FAT, 22 for ISO 9660.
constexpr size_t longestUuid = 64;

struct Release {
  void operator()(libmnt_cache* cache) const { mnt_unref_cache(cache); }
  void operator()(libmnt_table* table) const { mnt_unref_table(table); }
  void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
};

template <typename T>
using Handle = std::unique_ptr<T, Release>;

bool isUuid(const std::string& uuid) {
  return !uuid.empty() && uuid.size() <= longestUuid &&
         std::all_of(uuid.begin(), uuid.end(), [](char c) { return hexValue(c) >= 0 || c == '-'; });
}

std::string upperCased(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return text;
}

/// Device of a file system as udev links it, for those who may not look into devices. ext and its like write their UUID
/// in lower, FAT and NTFS in upper case.
std::string linkedDevice(const std::string& uuid) {
  for (const std::string& spelling : {lowerCased(uuid), upperCased(uuid), uuid}) {
    std::error_code error;
    const std::filesystem::path device = std::filesystem::canonical("/dev/disk/by-uuid/" + spelling, error);
    if (!error) {
      return device.string();
    }
  }
  return std::string();
}

/// The first mount point whose file system `matches`; one that shows all of it wins over one that shows a folder of it.
template <typename Matches>
std::string firstMountPoint(libmnt_table* table, Matches matches) {
  std::string found;
  const Handle<libmnt_iter> iterator(mnt_new_iter(MNT_ITER_FORWARD));
  libmnt_fs* mounted = nullptr;
  while (iterator && mnt_table_next_fs(table, iterator.get(), &mounted) == 0) {
    const char* const device = mnt_fs_get_srcpath(mounted);
    const char* const target = mnt_fs_get_target(mounted);
    const char* const root = mnt_fs_get_root(mounted);
    if (device == nullptr || device[0] != '/' || target == nullptr || !matches(device)) {
      continue;
    }
    if (root != nullptr && std::string_view(root) == "/") {
      return target;
    }
    found = found.empty() ? target : found;
  }
  return found;
}

}  // namespace

std::string mountPointOf(const std::string& uuid) {
  const Handle<libmnt_cache> cache(mnt_new_cache());
  const Handle<libmnt_table> table(mnt_new_table_from_file("/proc/self/mountinfo"));
  if (!isUuid(uuid) || !cache || !table) {
    return std::string();
  }
  // The devices themselves are asked, and only the mounted ones: libmount's own search by UUID believes what was noted
  // about a device up to two seconds ago, wakes every disk there is, and writes its notes to /run.
  const std::string wanted = lowerCased(uuid);
  const std::string found = firstMountPoint(table.get(), [&](const char* device) {
    const char* const tag = mnt_cache_find_tag_value(cache.get(), device, "UUID");
    return tag != nullptr && lowerCased(tag) == wanted;
  });
  const std::string linked = found.empty() ? linkedDevice(uuid) : std::string();
  return linked.empty() ? found : firstMountPoint(table.get(), [&](const char* device) { return device == linked; });
}

}  // namespace md::host
