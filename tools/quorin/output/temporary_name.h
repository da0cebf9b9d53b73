#pragma once

#include <string>

namespace quorin_command {

/// The name of a file that is not finished. A signal that ends the program takes the file away; so the name is made
/// known before there is a file. There is one of these at a time.
class TemporaryName {
 public:
  /// @param path what the file shall be called in the end; it stands in the same folder
  explicit TemporaryName(const std::string& path);
  ~TemporaryName();
  TemporaryName(const TemporaryName&) = delete;
  TemporaryName& operator=(const TemporaryName&) = delete;

  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

/// Removes the file, if there is one; for signal handlers.
void removeTemporaryFile();

/// The folder part of a path, with its "/"; empty when there is none.
std::string folderOf(const std::string& path);

}  // namespace quorin_command
