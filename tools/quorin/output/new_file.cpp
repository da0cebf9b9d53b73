#include "output/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "item/item.h"
#include "output/output.h"

namespace quorin_command {

namespace {

/// Why a file must stay because it is open here: ETXTBSY when it is read, be it as an item, a scan or standard input;
/// EINPROGRESS when other output goes there, as with /dev/stdout behind a redirection; 0 when it is not open. The
/// program has few descriptors, and they are numbered from 0 on.
int whyInUse(const struct stat& file) {
  constexpr int mostDescriptors = 256;
  for (int descriptor = 0; descriptor < mostDescriptors; ++descriptor) {
    struct stat status = {};
    const int mode = ::fcntl(descriptor, F_GETFL);
    if (mode >= 0 && ::fstat(descriptor, &status) == 0 && status.st_dev == file.st_dev &&
        status.st_ino == file.st_ino) {
      return (mode & O_ACCMODE) == O_WRONLY ? EINPROGRESS : ETXTBSY;
    }
  }
  return 0;
}

}  // namespace

NewFile::NewFile(std::string path, bool force, FileNames& names)
    : path_(std::move(path)), force_(force), names_(names) {
  if (!isStandardOutput()) {
    error_ = whyNotTo(path_, force_);
    error_ = error_ != 0 ? error_ : create();
  }
}

NewFile::~NewFile() {
  static_cast<void>(close());
  if (temporary_) {
    names_.remove(temporary_->text());
  }
}

int NewFile::whyNotTo(const std::string& path, bool force) {
  if (path == "-") {
    return 0;
  }
  struct stat status = {};
  if (::stat(path.c_str(), &status) == 0) {
    if (!S_ISREG(status.st_mode)) {
      return ENXIO;  // a device or a pipe is not to be replaced by a file
    }
    if (const int use = whyInUse(status); use != 0) {
      return use;
    }
  }
  return !force && isFile(path) ? EEXIST : 0;
}

int NewFile::create() {
  const std::string folder = folderOf(path_);
  descriptor_ = names_.openNameless(folder.empty() ? "." : folder);
  if (descriptor_ >= 0) {
    return 0;
  }
  const int error = names_.create(temporary_.emplace(path_).text(), descriptor_);
  if (error != 0) {
    temporary_.reset();
  }
  return error;
}

void NewFile::write(std::string_view bytes) {
  if (error_ == 0) {
    error_ = writeAll(isStandardOutput() ? STDOUT_FILENO : descriptor_, bytes);
  }
}

int NewFile::commit() {
  if (error_ == 0 && !isStandardOutput()) {
    error_ = temporary_ ? nameIt() : nameNameless();
  }
  return error_;
}

int NewFile::nameIt() {
  const std::string& name = temporary_->text();
  int error = close();
  if (error == 0) {
    error = force_ ? names_.rename(name, path_) : moveIfFree(names_, name, path_);
  }
  if (error != 0) {
    names_.remove(name);
  }
  temporary_.reset();
  return error;
}

int NewFile::nameNameless() {
  const int error = names_.linkNameless(descriptor_, path_);
  if (error != EEXIST || !force_) {
    return error;
  }
  // A link replaces nothing; a renaming does.
  const int linkError = names_.linkNameless(descriptor_, temporary_.emplace(path_).text());
  return linkError != 0 ? linkError : nameIt();
}

/// @return an errno
int NewFile::close() { return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0 ? 0 : errno; }

}  // namespace quorin_command
