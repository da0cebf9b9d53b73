// bare FILE: the system calls that an analysis makes on an MP3, and a line of output.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <iostream>
#include <string>

int main(int count, char** arguments) {
  if (count != 2) {
    std::cerr << "usage: bare FILE\n";
    return 2;
  }
  const char* const path = arguments[1];
  struct stat status = {};
  if (::stat((std::string(path) + '/').c_str(), &status) == 0) {
    return 1;
  }
  const int file = ::open(path, O_RDONLY | O_CLOEXEC);
  std::array<char, 9216> head;
  std::array<char, 128> tail;
  if (file < 0 || ::fstat(file, &status) != 0 || ::pread(file, head.data(), head.size(), 0) < 0 ||
      ::pread(file, tail.data(), tail.size(), status.st_size - 128) < 0) {
    return 1;
  }
  ::close(file);
  std::cout << path << ' ' << status.st_size << ' ' << static_cast<int>(head[0]) << ' ' << static_cast<int>(tail[0])
            << '\n';
  return 0;
}
