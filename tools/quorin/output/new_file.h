#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "output/file_names.h"
#include "output/temporary_name.h"

namespace quorin_command {

/// A file that is written whole or not at all. It bears its name only from `commit` on; until then it has none, or
/// where the file system demands one, one that a signal takes away.
class NewFile {
 public:
  /// @param path its name; "-" for standard output, which is written as it comes
  /// @param force whether a file of that name may be replaced
  NewFile(std::string path, bool force, FileNames& names = systemFileNames());
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  /// Failures are remembered; nothing is written after the first.
  void write(std::string_view bytes);

  const std::string& path() const { return path_; }

  /// Gives the file its name.
  /// @return 0, or the errno of whatever went wrong; EEXIST when a file of that name may not be replaced, ETXTBSY when
  ///   it is one that this program is reading, EINPROGRESS one where its other output goes, ENXIO when it is a folder,
  ///   a pipe or a device
  int commit();

  /// What `commit` will say, as far as that can be known before.
  static int whyNotTo(const std::string& path, bool force);

 private:
  bool isStandardOutput() const { return path_ == "-"; }
  int create();
  int nameIt();
  int nameNameless();
  int close();

  std::string path_;
  bool force_;
  FileNames& names_;
  std::optional<TemporaryName> temporary_;  ///< what the file is called meanwhile; nothing when it has no name
  int descriptor_ = -1;
  int error_ = 0;
};

}  // namespace quorin_command
