#include "support/process_resources.h"

#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#ifdef __has_feature
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) || __has_feature(thread_sanitizer)
#include <sanitizer/allocator_interface.h>
#define QUORIN_TEST_SANITIZED
#endif
#endif

namespace quorin_test {

namespace {

/// A figure of /proc/self/status, in bytes.
size_t statusFigure(const char* name) {
  std::ifstream status("/proc/self/status");
  const std::string beginning = std::string(name) + ':';
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, beginning.size(), beginning) == 0) {
      return std::stoul(line.substr(beginning.size())) * 1024;
    }
  }
  throw std::runtime_error(beginning + " is not told by this machine");
}

}  // namespace

bool runsNatively() {
#if defined(QUORIN_TEST_SANITIZED) || defined(QUORIN_TEST_EMULATED)
  return false;
#else
  return true;
#endif
}

PeakMemory::PeakMemory() {
  malloc_trim(0);  // what others have freed would be taken again without notice
  std::ofstream peak("/proc/self/clear_refs");
  if (!(peak << "5" << std::flush)) {  // 5: the peak is what is held now
    throw std::runtime_error("the peak of the memory cannot be set back");
  }
  before_ = statusFigure("VmHWM");
}

size_t PeakMemory::growth() const {
  const size_t now = statusFigure("VmHWM");
  return runsNatively() && now > before_ ? now - before_ : 0;
}

size_t residentMemory() { return statusFigure("VmRSS"); }

size_t heapInUse() {
#ifdef QUORIN_TEST_SANITIZED
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
#endif
}

size_t openDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

}  // namespace quorin_test
