#include "output/file_names.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace quorin_command {

namespace {

/// The rights of a new file before the user's mask is taken off.
constexpr mode_t anyMayReadAndWrite = 0666;

int errnoUnless(bool done) { return done ? 0 : errno; }

std::string descriptorPath(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

class SystemFileNames : public FileNames {
 public:
  int openNameless(const std::string& folder) override {
    const int descriptor = ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, anyMayReadAndWrite);
    // Its name is given by way of /proc, which may not be mounted.
    if (descriptor >= 0 && ::access(descriptorPath(descriptor).c_str(), F_OK) != 0) {
      ::close(descriptor);
      return -1;
    }
    return descriptor;
  }

  int linkNameless(int descriptor, const std::string& path) override {
    return errnoUnless(
        ::linkat(AT_FDCWD, descriptorPath(descriptor).c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0);
  }

  int create(const std::string& path, int& descriptor) override {
    descriptor = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, anyMayReadAndWrite);
    return errnoUnless(descriptor >= 0);
  }

  int renameIfFree(const std::string& from, const std::string& to) override {
    return errnoUnless(::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0);
  }

  int link(const std::string& from, const std::string& to) override {
    return errnoUnless(::link(from.c_str(), to.c_str()) == 0);
  }

  int rename(const std::string& from, const std::string& to) override {
    return errnoUnless(std::rename(from.c_str(), to.c_str()) == 0);
  }

  void remove(const std::string& path) override { ::unlink(path.c_str()); }
};

/// Whether an errno says that the file system, or the kernel, does not know such a call.
bool isNotOffered(int error) { return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EPERM; }

/// Takes the new name with an empty file, which then may be replaced because it is ours.
int claimAndRename(FileNames& names, const std::string& from, const std::string& to) {
  int descriptor = -1;
  int error = names.create(to, descriptor);
  if (error != 0) {
    return error;
  }
  ::close(descriptor);
  error = names.rename(from, to);
  if (error != 0) {
    names.remove(to);
  }
  return error;
}

}  // namespace

FileNames& systemFileNames() {
  static SystemFileNames names;
  return names;
}

int moveIfFree(FileNames& names, const std::string& from, const std::string& to) {
  int error = names.renameIfFree(from, to);
  if (!isNotOffered(error)) {
    return error;
  }
  error = names.link(from, to);
  if (error == 0) {
    names.remove(from);
  }
  return isNotOffered(error) ? claimAndRename(names, from, to) : error;
}

}  // namespace quorin_command
