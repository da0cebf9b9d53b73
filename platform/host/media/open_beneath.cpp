#include "media/open_beneath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "file/unique_fd.h"

namespace md::host {

namespace {

/// The kernel gives up with EAGAIN when something below the root is renamed meanwhile; it asks to try again.
constexpr int mostKernelTries = 8;

/// Symbolic links followed in one path, as in the kernel.
constexpr int mostLinks = 40;

/// Components opened for one path. Links that lead to and fro could make a walk of 40 links as long as their makers
/// like; an honest path of PATH_MAX bytes has 2048.
constexpr int mostSteps = 4096;

int failWith(int error) {
  errno = error;
  return -1;
}

/// The components of a path, without the empty ones and ".".
std::vector<std::string> componentsOf(std::string_view path) {
  std::vector<std::string> components;
  while (!path.empty()) {
    const size_t end = path.find('/');
    const std::string_view component = path.substr(0, end);
    if (!component.empty() && component != ".") {
      components.emplace_back(component);
    }
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
  }
  return components;
}

/// Whether a path ends in a way that only a directory can.
bool asksForDirectory(std::string_view path) {
  const std::string_view last = path.substr(path.rfind('/') + 1);  // npos + 1 is 0
  return last.empty() || last == "." || last == "..";
}

/// One path on its way down. Symbolic links and ".." are replaced in the list of components, and the way starts at the
/// root again: so ".." never trusts a directory that somebody may have moved meanwhile.
class Walk {
 public:
  Walk(int root, const std::string& path, int flags)
      : root_(root), flags_(flags | O_NOFOLLOW | O_CLOEXEC), components_(componentsOf(path)) {
    wantDirectory(path);
  }

  int open() {
    while (true) {
      UniqueFd here;
      size_t i = 0;
      int result = 0;
      for (; i < components_.size() && result == 0; ++i) {
        result = step(here, i);
      }
      if (result < 0) {
        return -1;
      }
      if (result == 0) {
        return here ? here.release() : ::openat(root_, ".", flags_);
      }
    }
  }

 private:
  /// Goes from `here` into the i-th component.
  /// @return 0, 1 when the components were changed, or -1 with errno
  int step(UniqueFd& here, size_t i) {
    if (++steps_ > mostSteps) {
      return failWith(ELOOP);
    }
    if (components_[i] == "..") {
      return removeParentReference(i);
    }
    const int directory = here ? here.get() : root_;
    const char* const name = components_[i].c_str();
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlinkat(directory, name, target.data(), target.size());
    if (length >= 0) {
      return replaceLink(i, std::string_view(target.data(), static_cast<size_t>(length)));
    }
    if (errno != EINVAL) {  // EINVAL: no link
      return -1;
    }
    const bool isLast = i + 1 == components_.size();
    UniqueFd next(::openat(directory, name, isLast ? flags_ : O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    here = std::move(next);
    return here ? 0 : -1;
  }

  int removeParentReference(size_t i) {
    if (i == 0) {
      return failWith(EXDEV);
    }
    const auto at = components_.begin() + static_cast<std::ptrdiff_t>(i);
    components_.erase(at - 1, at + 1);
    return 1;
  }

  int replaceLink(size_t i, std::string_view target) {
    if (++links_ > mostLinks) {
      return failWith(ELOOP);
    }
    if (target.empty() || target.front() == '/') {
      return failWith(EXDEV);
    }
    if (i + 1 == components_.size()) {
      wantDirectory(target);
    }
    std::vector<std::string> inserted = componentsOf(target);
    const auto at = components_.erase(components_.begin() + static_cast<std::ptrdiff_t>(i));
    components_.insert(at, std::make_move_iterator(inserted.begin()), std::make_move_iterator(inserted.end()));
    return 1;
  }

  void wantDirectory(std::string_view path) {
    if (asksForDirectory(path)) {
      flags_ |= O_DIRECTORY;
    }
  }

  const int root_;
  int flags_;
  std::vector<std::string> components_;
  int links_ = 0;
  int steps_ = 0;
};

int openWithKernel(int root, const std::string& path, int flags) {
  open_how how = {};
  how.flags = static_cast<decltype(how.flags)>(flags) | O_LARGEFILE;  // open() of the C library would add it
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  const char* const name = path.empty() ? "." : path.c_str();
  for (int tries = 1;; ++tries) {
    const long result = ::syscall(SYS_openat2, root, name, &how, sizeof how);
    if (result >= 0 || errno != EAGAIN || tries == mostKernelTries) {
      return static_cast<int>(result);
    }
  }
}

}  // namespace

int openBeneath(int root, const std::string& path, int flags, Confinement confinement) {
  if (path.find('\0') != std::string::npos) {
    return failWith(EINVAL);
  }
  if (path.size() >= PATH_MAX) {
    return failWith(ENAMETOOLONG);
  }
  const std::vector<std::string> components = componentsOf(path);
  if (path.substr(0, 1) == "/" || std::find(components.begin(), components.end(), "..") != components.end()) {
    return failWith(EXDEV);
  }
  if (confinement != Confinement::walk) {
    const int opened = openWithKernel(root, path, flags);
    // A filter of system calls that does not know this one yet answers EPERM.
    const bool isMissing = opened < 0 && (errno == ENOSYS || errno == EPERM);
    if (!isMissing || confinement == Confinement::kernel) {
      return opened;
    }
  }
  return Walk(root, path, flags).open();
}

}  // namespace md::host
