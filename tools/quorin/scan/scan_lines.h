#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace quorin_command {

/// The lines of a scan, one after the other, with their numbers.
class ScanLines {
 public:
  /// @param path "-": standard input
  explicit ScanLines(const std::string& path);

  /// Takes the next line that is not empty. One of more than `longestLine` bytes is cut there: it is no record.
  /// @return false at the end, or when reading fails
  bool next(std::string& line);

  unsigned long long number() const { return number_; }  ///< of the line last taken, from 1 on
  bool isEnded() const { return ended_; }                ///< whether that line had a line end
  int error() const { return error_; }                   ///< 0, or the errno of the failure

  /// A record holds a few paths and addresses. Without a limit, a device without line ends would take all memory.
  static constexpr size_t longestLine = 1 << 20;

 private:
  std::unique_ptr<FILE, int (*)(FILE*)> file_;
  unsigned long long number_ = 0;
  bool ended_ = false;
  int error_ = 0;
};

}  // namespace quorin_command
