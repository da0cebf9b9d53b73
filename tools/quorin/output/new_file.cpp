#include "output/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "item/item.h"
#include "output/output.h"

namespace quorin_command {

namespace {

/// What a file would have whose name nobody chose: the rights that the user gives new files.
mode_t ordinaryMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

NewFile::NewFile(std::string path, bool force) : path_(std::move(path)), force_(force) {
  if (isStandardOutput()) {
    return;
  }
  if (!force_ && isFile(path_)) {
    error_ = EEXIST;
    return;
  }
  struct stat status = {};
  if (::stat(path_.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    error_ = ENOTSUP;  // a device or a pipe is not to be replaced by a file
    return;
  }
  temporary_ = path_.substr(0, path_.find_last_of('/') + 1) + ".quorin.XXXXXX";
  descriptor_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
  error_ = descriptor_ < 0 ? errno : 0;
}

NewFile::~NewFile() {
  if (descriptor_ >= 0) {
    ::close(descriptor_);
    ::unlink(temporary_.c_str());
  }
}

void NewFile::write(std::string_view bytes) {
  if (error_ == 0) {
    error_ = writeAll(isStandardOutput() ? STDOUT_FILENO : descriptor_, bytes);
  }
}

int NewFile::commit() {
  if (error_ != 0 || isStandardOutput()) {
    return error_;
  }
  const bool kept = ::fchmod(descriptor_, ordinaryMode()) == 0 && ::close(std::exchange(descriptor_, -1)) == 0;
  // A link refuses to replace a file that has come there meanwhile, a renaming would not.
  const bool named = kept && (force_ ? ::rename(temporary_.c_str(), path_.c_str()) == 0
                                     : ::link(temporary_.c_str(), path_.c_str()) == 0);
  error_ = named ? 0 : errno;
  if (!named || !force_) {
    ::unlink(temporary_.c_str());
  }
  return error_;
}

}  // namespace quorin_command
