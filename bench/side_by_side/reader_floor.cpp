#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <unordered_map>

#include "readers.h"

namespace quorin_bench {

namespace {

/// One system call; which one is told by the letter that bench/side_by_side/trace_calls.py gave it.
struct Call {
  char kind;
  long long first;   ///< open: flags; read and pread: length
  long long second;  ///< pread: offset
};

using Calls = std::vector<Call>;
using CallsByPath = std::unordered_map<std::string, Calls>;

CallsByPath readCalls(const std::string& path) {
  std::ifstream file(path);
  CallsByPath byPath;
  Calls* calls = nullptr;
  for (std::string line; std::getline(file, line);) {
    if (line.compare(0, 2, "F ") == 0) {
      calls = &byPath[line.substr(2)];
      continue;
    }
    Call call = {};
    std::istringstream words(line);
    words >> call.kind >> call.first >> call.second;
    if (calls == nullptr) {
      throw std::runtime_error(path + ": a call before the first file");
    }
    calls->push_back(call);
  }
  return byPath;
}

class Floor : public Reader {
 public:
  explicit Floor(std::shared_ptr<const CallsByPath> calls) : calls_(std::move(calls)) {}

  bool read(const std::string& path) override {
    int file = -1;
    struct stat status = {};
    ssize_t got = 0;
    for (const Call& call : calls_->at(path)) {
      switch (call.kind) {
        case 'o':
          file = ::open(path.c_str(), static_cast<int>(call.first));
          break;
        case 'S':
          got |= ::stat(path.c_str(), &status);
          break;
        case 's':
          got |= ::fstat(file, &status);
          break;
        case 'r':
          got |= ::read(file, buffer_.data(), static_cast<size_t>(call.first));
          break;
        case 'p':
          got |= ::pread(file, buffer_.data(), static_cast<size_t>(call.first), call.second);
          break;
        case 'c':
          ::close(file);
          break;
        default:
          throw std::runtime_error(path + ": no such call");
      }
    }
    return got != -1;
  }

 private:
  std::shared_ptr<const CallsByPath> calls_;
  std::array<char, 1 << 20> buffer_ = {};
};

}  // namespace

ReaderKind floorReader(const std::string& calls) {
  const auto byPath = std::make_shared<const CallsByPath>(readCalls(calls));
  return {"floor", [byPath] { return std::make_unique<Floor>(byPath); }};
}

}  // namespace quorin_bench
