#include "obq/debug.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

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
    auto replacement = std::make_shared<const obq::DebugSink>(std::move(sink));
    if (writing_) {  // the sink replaces itself: this thread holds the lock already
      sink_.swap(replacement);
      return;
    }
    const std::lock_guard<std::mutex> lock(sinkMutex_);
    sink_.swap(replacement);  // declared before the lock, so the previous sink is destroyed without it and may log
  }

  void write(uint32_t module, uint32_t level, std::string_view text) {
    if (writing_) {
      return;  // the sink itself logs
    }
    // Outlives the call and the lock, also when the sink replaces itself.
    std::shared_ptr<const obq::DebugSink> current;
    const std::lock_guard<std::mutex> lock(sinkMutex_);
    struct Guard {
      Guard() { writing_ = true; }
      ~Guard() { writing_ = false; }
    } guard;
    current = sink_;
    if (*current) {
      (*current)(module, level, text);
    } else {
      writeToStandardError(text);
    }
  }

 private:
  Output() {
    const char* text = std::getenv("OBQ_DEBUG");
    preset_ = text == nullptr ? 0 : levelIn(text);
    publishMostVerbose();
  }

  /// The decimal number that `text` is, from its first to its last character; 0 for any other text.
  static uint32_t levelIn(std::string_view text) {
    uint32_t level = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), level);
    return parsed.ec == std::errc() && parsed.ptr == text.data() + text.size() ? level : 0;
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
      if (written >= 0) {
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
  std::shared_ptr<const obq::DebugSink> sink_ = std::make_shared<const obq::DebugSink>();
  static thread_local bool writing_;  ///< this thread is inside the sink, and holds `sinkMutex_`
};

thread_local bool Output::writing_ = false;

uint32_t moduleOf(const uint32_t record[3]) { return record[0] >> 16; }

uint32_t levelOf(const uint32_t record[3]) { return record[0] & 0xffff; }

/// A line of usual length needs no allocation.
constexpr size_t usualLineSize = 512;

}  // namespace

extern "C" int obqDebugCheckLevelGetFrameAndChunk(const uint32_t record[3]) {
  return Output::instance().isWanted(moduleOf(record), levelOf(record)) ? 1 : 0;
}

extern "C" void obqDebugOutput0(const uint32_t record[3], const char* format, ...) {
  const int errorOfCaller = errno;
  std::array<char, usualLineSize> usual;
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(usual.data(), usual.size(), format, arguments);
  va_end(arguments);
  const auto size = static_cast<size_t>(std::max(length, 0));
  try {
    std::string whole;
    if (size >= usual.size()) {
      whole.resize(size + 1);
      va_start(arguments, format);
      static_cast<void>(std::vsnprintf(whole.data(), whole.size(), format, arguments));
      va_end(arguments);
    }
    if (length >= 0) {
      const char* const text = whole.empty() ? usual.data() : whole.data();
      Output::instance().write(moduleOf(record), levelOf(record), {text, size});
    }
  } catch (...) {  // a sink that throws, or no memory for the line: losing the line beats losing the program
  }
  errno = errorOfCaller;
}

void obq::setDebugLevel(uint32_t module, uint32_t mostVerbose) { Output::instance().setLevel(module, mostVerbose); }

void obq::setDebugSink(DebugSink sink) { Output::instance().setSink(std::move(sink)); }
