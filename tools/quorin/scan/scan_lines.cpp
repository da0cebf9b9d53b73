#include "scan/scan_lines.h"

#include <cerrno>

namespace quorin_command {

ScanLines::ScanLines(const std::string& path)
    : file_(path == "-" ? stdin : std::fopen(path.c_str(), "re"), std::fclose), error_(file_ ? 0 : errno) {}

bool ScanLines::next(std::string& line) {
  line.clear();
  int c = 0;
  while (file_ && line.empty() && c != EOF) {
    ++number_;
    // No other thread reads here, so the lock that getc takes for every byte is left alone.
    while ((c = ::getc_unlocked(file_.get())) != EOF && c != '\n') {
      if (line.size() < longestLine) {
        line += static_cast<char>(c);
      }
    }
  }
  ended_ = c == '\n';
  if (file_ && std::ferror(file_.get()) != 0) {
    error_ = errno;
    return false;
  }
  return !line.empty();
}

}  // namespace quorin_command
