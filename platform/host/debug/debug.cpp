#include "obq/debug.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>

std::atomic<uint32_t> obqDebugMostVerbose(UINT32_MAX);

namespace {

/// Levels and sink. Built on first use, so that no order of static initialisation matters, and never destroyed, so
/// that destructors of statics may still log.
class Output {
 public:
  static Output& instance() {
    static Output& output = *new Output;
    return output;
  }

  bool isWanted(uint32_t module, uint32_t level) {
    const std::lock_guard<std::mutex> lock(levelMutex_);
    const auto own = levels_.find(module);
    return level <= (own == levels_.end() ? preset_ : own->second);
  }

  void setLevel(uint32_t module, uint32_t mostVerbose) {
    const std::lock_guard<std::mutex> lock(levelMutex_);
    levels_[module] = mostVerbose;
    publishMostVerbose();
  }

  void setSink(obq::DebugSink sink) {
    const std::lock_guard<std::mutex> lock(sinkMutex_);
    sink_ = std::move(sink);
  }

  void write(uint32_t module, uint32_t level, std::string_view text) {
    thread_local bool writing = false;
    if (writing) {
      return;  // the sink itself logs
    }
    const std::lock_guard<std::mutex> lock(sinkMutex_);
    struct Guard {
      Guard() { writing = true; }
      ~Guard() { writing = false; }
    } guard;
    if (sink_) {
      sink_(module, level, text);
    } else {
      writeToStandardError(text);
    }
  }

 private:
  Output() {
    const char* text = std::getenv("OBQ_DEBUG");
    if (text != nullptr) {
      preset_ = static_cast<uint32_t>(std::strtoul(text, nullptr, 10));
    }
    publishMostVerbose();
  }

  void publishMostVerbose() {
    uint32_t most = preset_;
    for (const auto& [module, level] : levels_) {
      most = std::max(most, level);
    }
    obqDebugMostVerbose.store(most, std::memory_order_relaxed);
  }

  /// One write per line, so that lines of several processes on one terminal do not mix either.
  static void writeToStandardError(std::string_view text) {
    while (!text.empty()) {
      const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
      if (written > 0) {
        text.remove_prefix(static_cast<size_t>(written));
      } else if (errno != EINTR) {
        return;
      }
    }
  }

  std::mutex levelMutex_;
  uint32_t preset_ = 0;  ///< from OBQ_DEBUG, for every module without a level of its own
  std::map<uint32_t, uint32_t> levels_;
  std::mutex sinkMutex_;
  obq::DebugSink sink_;
};

uint32_t moduleOf(const uint32_t record[3]) { return record[0] >> 16; }

uint32_t levelOf(const uint32_t record[3]) { return record[0] & 0xffff; }

/// A line of usual length needs no allocation.
constexpr size_t usualLineSize = 512;

}  // namespace

extern "C" int obqDebugCheckLevelGetFrameAndChunk(const uint32_t record[3]) {
  return Output::instance().isWanted(moduleOf(record), levelOf(record)) ? 1 : 0;
}

extern "C" void obqDebugOutput0(const uint32_t record[3], const char* format, ...) {
  std::array<char, usualLineSize> usual;
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(usual.data(), usual.size(), format, arguments);
  va_end(arguments);
  if (length >= 0 && static_cast<size_t>(length) < usual.size()) {
    Output::instance().write(moduleOf(record), levelOf(record), {usual.data(), static_cast<size_t>(length)});
  } else if (length >= 0) {
    std::string whole(static_cast<size_t>(length) + 1, '\0');
    static_cast<void>(std::vsnprintf(whole.data(), whole.size(), format, again));
    whole.pop_back();
    Output::instance().write(moduleOf(record), levelOf(record), whole);
  }
  va_end(again);
}

void obq::setDebugLevel(uint32_t module, uint32_t mostVerbose) { Output::instance().setLevel(module, mostVerbose); }

void obq::setDebugSink(DebugSink sink) { Output::instance().setSink(std::move(sink)); }
