#pragma once

#include <string>

namespace quorin_command {

/// What a file system does with names. File systems differ in what of it they can do; tests let any of it fail. Each
/// call returns 0 or an errno.
class FileNames {
 public:
  virtual ~FileNames() = default;

  /// Opens a new file without a name, which is gone when it is closed, unless `link` has given it a name before.
  /// @return a descriptor, or negative
  virtual int openNameless(const std::string& folder) = 0;
  virtual int linkNameless(int descriptor, const std::string& path) = 0;

  /// Creates an empty file; EEXIST when something of that name is there.
  /// @param descriptor of the file, open for writing
  virtual int create(const std::string& path, int& descriptor) = 0;

  virtual int renameIfFree(const std::string& from, const std::string& to) = 0;
  virtual int link(const std::string& from, const std::string& to) = 0;
  virtual int rename(const std::string& from, const std::string& to) = 0;
  virtual void remove(const std::string& path) = 0;
};

/// Those of the system.
FileNames& systemFileNames();

/// Renames a file unless something of the new name is there (EEXIST), in the first way that the file system offers. FAT
/// knows no links, NFS and older kernels no renaming that spares what is there.
int moveIfFree(FileNames& names, const std::string& from, const std::string& to);

}  // namespace quorin_command
