#include "support/run_command.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>

#include "support/temporary_folder.h"

namespace quorin_test {

namespace {

constexpr int noSuchProgram = 127;

[[noreturn]] void become(const std::vector<std::string>& command, const std::string& output,
                         const std::string& errors) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  const auto redirect = [](const std::string& path, int flags, int descriptor) {
    const int opened = open(path.c_str(), flags | O_CLOEXEC, 0600);
    return opened >= 0 && dup2(opened, descriptor) == descriptor;
  };
  if (redirect("/dev/null", O_RDONLY, STDIN_FILENO) && redirect(output, O_WRONLY | O_CREAT, STDOUT_FILENO) &&
      redirect(errors, O_WRONLY | O_CREAT, STDERR_FILENO)) {
    execvp(arguments[0], arguments.data());
  }
  _exit(noSuchProgram);
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace

CommandRun runCommand(const std::vector<std::string>& command) {
  const TemporaryFolder folder;
  const std::string output = folder / "output";
  const std::string errors = folder / "errors";
  const pid_t child = fork();
  if (child == 0) {
    become(command, output, errors);
  }
  int status = 0;
  while (child < 0 || waitpid(child, &status, 0) < 0) {
    if (child < 0 || errno != EINTR) {
      return {-1, std::string(), "cannot run " + command.front()};
    }
  }
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentOf(output), contentOf(errors)};
}

}  // namespace quorin_test
