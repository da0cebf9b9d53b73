#pragma once

#include <string>

#include "support/scripted_source.h"

namespace quorin_test {

/// A folder of its own for a test, removed with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }

  /// The path of something in it.
  std::string operator/(const std::string& name) const { return path_ + '/' + name; }

  /// Makes a folder in it, parents included. Everybody may write there: servers run without the rights of the test.
  void makeFolder(const std::string& name) const;

  /// Writes a file in it and returns its path.
  std::string write(const std::string& name, const std::string& text) const;
  std::string write(const std::string& name, const Bytes& bytes) const;

 private:
  std::string path_;
};

}  // namespace quorin_test
