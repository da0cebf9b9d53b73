#pragma once

#include <unistd.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "md/url.h"

namespace quorin_test {

/// What `mdch_OpenUrl` answered.
struct OpenedItem {
  int code;
  boost::shared_ptr<MdchUrlBase> source;
};

inline OpenedItem openItem(const std::string& uri, const char* timeLimits = nullptr) {
  MdchOpenParams params = {};
  params.text4 = timeLimits;
  OpenedItem item = {};
  item.code = mdch_OpenUrl(uri.c_str(), 0, params, item.source);
  return item;
}

/// Reads to the end, or until `most` bytes are there.
/// @param status receives the result of the last read
inline std::string readAll(MdchUrlBase& source, int* status = nullptr, size_t most = 1U << 20) {
  std::string all;
  unsigned char buffer[4096];
  unsigned int got = 0;
  int result = 0;
  do {
    result = source.read(buffer, sizeof buffer, got);
    all.append(reinterpret_cast<const char*>(buffer), got);
  } while (result == 0 && got > 0 && all.size() < most);
  if (status != nullptr) {
    *status = result;
  }
  return all;
}

/// Takes the rights of root away from this process while it lives, so that file permissions count.
class WithoutPrivileges {
 public:
  WithoutPrivileges() {
    if (wasRoot_ && seteuid(nobody) != 0) {
      _exit(1);
    }
  }
  ~WithoutPrivileges() {
    if (wasRoot_ && seteuid(0) != 0) {
      _exit(1);
    }
  }
  WithoutPrivileges(const WithoutPrivileges&) = delete;
  WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

 private:
  static constexpr uid_t nobody = 65534;
  const bool wasRoot_ = geteuid() == 0;
};

}  // namespace quorin_test
