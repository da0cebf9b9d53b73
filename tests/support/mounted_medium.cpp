#include "support/mounted_medium.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>

namespace quorin_test {

namespace {

/// Runs a command of the shell, quietly.
bool run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

/// A UUID that no other test running at this time has.
std::string newUuid() {
  std::random_device random;
  char text[37];
  std::snprintf(text, sizeof text, "abcdef%02x-1111-2222-3333-%04x%08x", random() & 0xFFU, random() & 0xFFFFU,
                random());
  return text;
}

}  // namespace

MountedMedium::MountedMedium() : uuid_(newUuid()), whyNot_(mounted()) {}

MountedMedium::~MountedMedium() { unmount(); }

std::string MountedMedium::mounted() {
  if (geteuid() != 0) {
    return "only root can mount";
  }
  const std::string image = folder_ / "image";
  if (!run("truncate -s 8M " + image + " && mkfs.ext4 -q -U " + uuid_ + " " + image)) {
    return "mkfs.ext4 cannot make a file system here";
  }
  if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    return std::string("no mounts of its own for this process: ") + std::strerror(errno);
  }
  folder_.makeFolder("mount point");
  const std::string place = folder_ / "mount point";
  if (!run("mount -o loop '" + image + "' '" + place + "'")) {
    return "no loop device to mount here";
  }
  mountPoint_ = place;
  return std::string();
}

void MountedMedium::write(const std::string& name, const std::string& text) const {
  folder_.makeFolder(std::filesystem::path("mount point/" + name).parent_path());
  folder_.write("mount point/" + name, text);
}

bool MountedMedium::unmount() {
  const bool unmounted = mountPoint_.empty() || umount(mountPoint_.c_str()) == 0;
  mountPoint_.clear();
  return unmounted;
}

}  // namespace quorin_test
