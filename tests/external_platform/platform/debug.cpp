#include "obq/debug.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

std::atomic<uint32_t> obqDebugMostVerbose(UINT32_MAX);

namespace {

struct ModuleLevel {
  uint32_t module;
  uint32_t mostVerbose;
};

/// One lock for all: nobody waits for long, and a sink that comes back in on its own thread is let through.
std::recursive_mutex guard;
std::vector<ModuleLevel> levels;
bool isInSink = false;
obq::DebugSink sinkOfCaller;

uint32_t levelOfEnvironment() {
  const char* const text = std::getenv("OBQ_DEBUG");
  const bool isNumber = text != nullptr && *text != '\0' && std::strspn(text, "0123456789") == std::strlen(text);
  const auto level = isNumber ? static_cast<uint32_t>(std::strtoul(text, nullptr, 10)) : 0;
  obqDebugMostVerbose = level;
  return level;
}

/// Before main, while there is one thread.
const uint32_t preset = levelOfEnvironment();

uint32_t levelOf(uint32_t module) {
  for (const ModuleLevel& each : levels) {
    if (each.module == module) {
      return each.mostVerbose;
    }
  }
  return preset;
}

void deliver(const uint32_t record[3], std::string_view text) {
  const std::lock_guard<std::recursive_mutex> lock(guard);
  if (isInSink) {
    return;
  }
  const obq::DebugSink sink = sinkOfCaller;  // it may replace itself
  isInSink = true;
  if (sink) {
    sink(record[0] >> 16, record[0] & 0xFFFF, text);
  } else {
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
  }
  isInSink = false;
}

}  // namespace

int obqDebugCheckLevelGetFrameAndChunk(const uint32_t record[3]) {
  const std::lock_guard<std::recursive_mutex> lock(guard);
  return (record[0] & 0xFFFF) <= levelOf(record[0] >> 16) ? 1 : 0;
}

void obqDebugOutput0(const uint32_t record[3], const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* text = nullptr;
  const int length = vasprintf(&text, format, arguments);
  va_end(arguments);
  if (length >= 0) {
    deliver(record, std::string_view(text, static_cast<size_t>(length)));
    std::free(text);
  }
}

void obq::setDebugLevel(uint32_t module, uint32_t mostVerbose) {
  const std::lock_guard<std::recursive_mutex> lock(guard);
  levels.erase(
      std::remove_if(levels.begin(), levels.end(), [module](const ModuleLevel& each) { return each.module == module; }),
      levels.end());
  levels.push_back({module, mostVerbose});
  uint32_t most = preset;
  for (const ModuleLevel& each : levels) {
    most = std::max(most, each.mostVerbose);
  }
  obqDebugMostVerbose = most;
}

void obq::setDebugSink(DebugSink sink) {
  const std::lock_guard<std::recursive_mutex> lock(guard);
  sinkOfCaller.swap(sink);
}
