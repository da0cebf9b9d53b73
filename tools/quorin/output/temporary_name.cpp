#include "output/temporary_name.h"

#include <fmt/format.h>
#include <unistd.h>

#include <atomic>
#include <random>

namespace quorin_command {

namespace {

/// What a signal handler finds: the text of the TemporaryName, or null.
std::atomic<const char*> known{nullptr};
static_assert(std::atomic<const char*>::is_always_lock_free);

std::string nameBeside(const std::string& path) {
  std::random_device random;
  return fmt::format("{}.quorin.{:08x}{:08x}", folderOf(path), random(), random());
}

}  // namespace

TemporaryName::TemporaryName(const std::string& path) : text_(nameBeside(path)) { known = text_.c_str(); }

TemporaryName::~TemporaryName() { known = nullptr; }

void removeTemporaryFile() {
  if (const char* const name = known; name != nullptr) {
    ::unlink(name);
  }
}

std::string folderOf(const std::string& path) { return path.substr(0, path.find_last_of('/') + 1); }

}  // namespace quorin_command
