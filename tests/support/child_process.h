#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace quorin_test {

/// A program that runs beside the test and ends with this object, or with the test program when that dies. Started by
/// root it runs as nobody, so that file permissions count and servers that refuse root work.
class ChildProcess {
 public:
  /// @param command program, looked up in PATH and /usr/sbin, and its arguments
  /// @param outputPath receives its standard output and error
  ChildProcess(const std::vector<std::string>& command, const std::string& outputPath);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool running();
  /// Waits for its own end; false when it failed.
  bool succeeds();
  /// Asks it to end, insists after a while, and waits for it.
  void stop();
  /// Ends it without asking, for one that takes long to end and leaves nothing worth it.
  void endNow();

 private:
  pid_t pid_;
  int status_ = -1;  ///< as waitpid tells it
};

}  // namespace quorin_test
