#include "support/child_process.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace quorin_test {

namespace {

constexpr uid_t nobody = 65534;
constexpr std::chrono::seconds patience(5);

/// Runs in the child of a program that may have threads: nothing here allocates.
[[noreturn]] void become(char* const* command, const char* inSbin, int output) {
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  const bool allowed = geteuid() != 0 || (setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0);
  if (allowed && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0) {
    execvp(command[0], command);
    execv(inSbin, command);
  }
  _exit(127);
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, const std::string& outputPath) {
  std::vector<char*> arguments(command.size() + 1, nullptr);
  std::transform(command.begin(), command.end(), arguments.begin(),
                 [](const std::string& argument) { return const_cast<char*>(argument.c_str()); });
  const std::string inSbin = "/usr/sbin/" + command.front();
  const int output = open(outputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  pid_ = fork();
  if (pid_ == 0) {
    become(arguments.data(), inSbin.c_str(), output);
  }
  close(output);
  if (pid_ < 0) {
    throw std::runtime_error("fork failed");
  }
}

ChildProcess::~ChildProcess() { stop(); }

bool ChildProcess::running() {
  if (pid_ > 0 && waitpid(pid_, &status_, WNOHANG) == pid_) {
    pid_ = -1;
  }
  return pid_ > 0;
}

bool ChildProcess::succeeds() {
  while (running()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return WIFEXITED(status_) && WEXITSTATUS(status_) == 0;
}

void ChildProcess::stop() {
  const auto giveUp = std::chrono::steady_clock::now() + patience;
  if (running()) {
    kill(pid_, SIGTERM);
  }
  while (running()) {
    if (std::chrono::steady_clock::now() > giveUp) {
      kill(pid_, SIGKILL);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

void ChildProcess::endNow() {
  if (running()) {
    kill(pid_, SIGKILL);
  }
  stop();
}

}  // namespace quorin_test
