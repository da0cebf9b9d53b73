#include "support/peak_memory.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace quorin_test {

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QUORIN_TEST_SANITIZED
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QUORIN_TEST_SANITIZED
#endif

PeakMemory::PeakMemory() {
  std::ofstream peak("/proc/self/clear_refs");
  if (!(peak << "5" << std::flush)) {  // 5: the peak is what is held now
    throw std::runtime_error("the peak of the memory cannot be set back");
  }
  before_ = processMemory("VmHWM");
}

bool PeakMemory::measures() {
#ifdef QUORIN_TEST_SANITIZED
  return false;
#else
  return true;
#endif
}

size_t PeakMemory::growth() const {
  const size_t now = processMemory("VmHWM");
  return now > before_ ? now - before_ : 0;
}

size_t processMemory(const char* name) {
  std::ifstream status("/proc/self/status");
  const std::string beginning = std::string(name) + ':';
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, beginning.size(), beginning) == 0) {
      return std::stoul(line.substr(beginning.size())) * 1024;
    }
  }
  throw std::runtime_error(beginning + " is not told by this machine");
}

}  // namespace quorin_test
