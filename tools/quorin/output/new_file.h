#pragma once

#include <string>
#include <string_view>

namespace quorin_command {

/// A file that is written whole or not at all. It bears its name only from `commit` on.
class NewFile {
 public:
  /// @param path its name; "-" for standard output, which is written as it comes
  /// @param force whether a file of that name may be replaced
  NewFile(std::string path, bool force);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  /// Failures are remembered; nothing is written after the first.
  void write(std::string_view bytes);

  const std::string& path() const { return path_; }

  /// Gives the file its name.
  /// @return 0, or the errno of whatever went wrong; EEXIST when a file of that name may not be replaced
  int commit();

 private:
  bool isStandardOutput() const { return path_ == "-"; }

  std::string path_;
  bool force_;
  std::string temporary_;
  int descriptor_ = -1;
  int error_ = 0;
};

}  // namespace quorin_command
