#include "media/mounted_media.h"

#include <libmount/libmount.h>

#include <algorithm>
#include <memory>
#include <string_view>

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

/// Device of a file system. Tags are compared letter by letter; ext and its like write them in lower, FAT and NTFS in
/// upper case.
const char* deviceOf(const std::string& uuid, libmnt_cache* cache) {
  for (const std::string& spelling : {lowerCased(uuid), upperCased(uuid), uuid}) {
    const char* const device = mnt_resolve_tag("UUID", spelling.c_str(), cache);
    if (device != nullptr) {
      return device;
    }
  }
  return nullptr;
}

}  // namespace

std::string mountPointOf(const std::string& uuid) {
  if (!isUuid(uuid)) {
    return std::string();
  }
  const Handle<libmnt_cache> cache(mnt_new_cache());
  const Handle<libmnt_table> table(mnt_new_table_from_file("/proc/self/mountinfo"));
  const Handle<libmnt_iter> iterator(mnt_new_iter(MNT_ITER_FORWARD));
  const char* const device = cache && table && iterator ? deviceOf(uuid, cache.get()) : nullptr;
  if (device == nullptr) {
    return std::string();
  }
  std::string found;
  libmnt_fs* mounted = nullptr;
  while (mnt_table_next_fs(table.get(), iterator.get(), &mounted) == 0) {
    const char* const target = mnt_fs_get_target(mounted);
    const char* const root = mnt_fs_get_root(mounted);
    if (target == nullptr || mnt_fs_match_source(mounted, device, cache.get()) == 0) {
      continue;
    }
    if (root != nullptr && std::string_view(root) == "/") {
      return target;
    }
    if (found.empty()) {  // a folder of it mounted somewhere is better than nothing
      found = target;
    }
  }
  return found;
}

}  // namespace md::host
