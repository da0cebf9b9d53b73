#include "picture_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "item.h"
#include "output.h"

namespace quorin_command {

namespace {

bool beginsWith(std::string_view text, std::string_view begin) { return text.substr(0, begin.size()) == begin; }

int hexDigit(char c) {
  const std::string_view digits = "0123456789abcdef";
  const size_t value = digits.find(lowered({&c, 1}));
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

/// RFC 3986, section 2.1.
std::string unescaped(std::string_view text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool isEscape =
        text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 && hexDigit(text[i + 2]) >= 0;
    plain += isEscape ? static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2])) : text[i];
    i += isEscape ? 2 : 0;
  }
  return plain;
}

/// What a file would have whose name nobody chose: the rights that the user gives new files.
mode_t ordinaryMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

const char* pictureEnding(std::string_view begin) {
  if (beginsWith(begin, "\xff\xd8\xff")) {
    return ".jpg";
  }
  if (beginsWith(begin, "\x89PNG\r\n\x1a\n")) {
    return ".png";
  }
  return beginsWith(begin, "GIF87a") || beginsWith(begin, "GIF89a") ? ".gif" : ".bin";
}

std::string pictureName(const std::string& uri) {
  std::string name = uri;
  if (isHttp(schemeOf(uri))) {
    name = name.substr(0, name.find_first_of("?#"));
    name = unescaped(name.substr(name.find_last_of('/') + 1));
    std::replace(name.begin(), name.end(), '/', '_');
  } else {
    name = name.substr(name.find_last_of('/') + 1);
  }
  name.erase(std::remove(name.begin(), name.end(), '\0'), name.end());
  const size_t ending = name.find_last_of('.');
  name = ending == 0 ? name : name.substr(0, ending);
  return name.empty() || name == "." || name == ".." ? "cover" : name;
}

NewFile::NewFile(std::string path, bool force) : path_(std::move(path)), force_(force) {
  if (isStandardOutput()) {
    return;
  }
  if (!force_ && isFile(path_)) {
    error_ = EEXIST;
    return;
  }
  temporary_ = path_ + ".XXXXXX";
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
