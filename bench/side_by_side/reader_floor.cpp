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
  long long result;  ///< what it returned; for a descriptor 0
  long long first;   ///< open: flags; pread: length
  long long second;  ///< pread: offset
};

/// Those of one item.
struct Calls {
  std::string asFolder;  ///< its path with a slash behind it
  std::vector<Call> calls;
};

constexpr size_t mostBytes = 1 << 20;  // of a read

Call toCall(const std::string& line) {
  Call call = {};
  std::istringstream words(line);
  words >> call.kind >> call.result;
  if (call.kind == 'o' || call.kind == 'p') {
    words >> call.first;
  }
  if (call.kind == 'p') {
    words >> call.second;
  }
  const bool known = std::string("ofspc").find(call.kind) != std::string::npos;
  if (!known || !words || !words.eof() || (call.kind == 'p' && call.first > static_cast<long long>(mostBytes))) {
    throw std::runtime_error("floor: cannot make the call '" + line + "'");
  }
  return call;
}

std::unordered_map<std::string, Calls> readCalls(const std::string& path) {
  std::ifstream file(path);
  std::unordered_map<std::string, Calls> byPath;
  Calls* calls = nullptr;
  for (std::string line; std::getline(file, line);) {
    if (line.compare(0, 2, "F ") == 0) {
      calls = &byPath[line.substr(2)];
      *calls = {line.substr(2) + '/', {}};  // a path may stand in the list more than once
    } else if (calls != nullptr) {
      calls->calls.push_back(toCall(line));
    } else {
      throw std::runtime_error(path + ": a call before the first file");
    }
  }
  return byPath;
}

/// The calls of each item by its number, so that finding them takes no time of the floor's.
std::vector<Calls> callsOf(const std::vector<Item>& items, const std::string& path) {
  const std::unordered_map<std::string, Calls> byPath = readCalls(path);
  std::vector<Calls> byNumber;
  for (const Item& item : items) {
    const auto found = byPath.find(item.path);
    if (found == byPath.end() || found->second.calls.empty()) {
      throw std::runtime_error(path + ": no calls for " + item.path);
    }
    byNumber.push_back(found->second);
  }
  return byNumber;
}

class Floor : public Reader {
 public:
  explicit Floor(std::shared_ptr<const std::vector<Calls>> calls) : calls_(std::move(calls)) {}

  bool read(const Item& item) override {
    int file = -1;
    struct stat status = {};
    const Calls& calls = (*calls_)[item.number];
    for (const Call& call : calls.calls) {
      long long result = 0;
      switch (call.kind) {
        case 'o':
          file = ::open(item.path.c_str(), static_cast<int>(call.first));
          result = file < 0 ? -1 : 0;
          break;
        case 'f':
          result = ::stat(calls.asFolder.c_str(), &status);
          break;
        case 's':
          result = ::fstat(file, &status);
          break;
        case 'p':
          result = ::pread(file, buffer_.data(), static_cast<size_t>(call.first), call.second);
          break;
        default:
          result = ::close(file);
          break;
      }
      if (result != call.result) {
        throw std::runtime_error(item.path + ": the floor's call '" + call.kind + "' returned " +
                                 std::to_string(result) + ", the traced one " + std::to_string(call.result));
      }
    }
    return true;
  }

 private:
  std::shared_ptr<const std::vector<Calls>> calls_;
  std::array<char, mostBytes> buffer_ = {};
};

}  // namespace

ReaderKind floorReader(const std::string& calls, const std::vector<Item>& items) {
  const auto byNumber = std::make_shared<const std::vector<Calls>>(callsOf(items, calls));
  return {"floor", [byNumber] { return std::make_unique<Floor>(byNumber); }};
}

}  // namespace quorin_bench
