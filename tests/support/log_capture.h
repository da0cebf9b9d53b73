#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace quorin_test {

/// One line of the platform's debug output.
struct LogLine {
  uint32_t module;
  uint32_t level;
  std::string text;

  bool operator==(const LogLine& other) const {
    return module == other.module && level == other.level && text == other.text;
  }
};

std::ostream& operator<<(std::ostream& stream, const LogLine& line);

/// Collects the debug output of the library while it lives; silences it afterwards.
class LogCapture {
 public:
  static constexpr uint32_t libraryModule = 0x68;

  explicit LogCapture(uint32_t mostVerbose = 5000);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogLine> lines() const;
  void clear();

  /// "LEVEL text" per line, in order. A source line number in "name():NUMBER " or "file:NUMBER:name()" reads "#", so
  /// that expectations do not depend on where the code stands.
  std::string dump() const;

  /// How often this very text was logged at this level.
  int count(uint32_t level, std::string_view text) const;

  /// How many lines of any level hold `part`.
  int countContaining(std::string_view part) const;

 private:
  mutable std::mutex mutex_;
  std::vector<LogLine> lines_;
};

/// Replaces source line numbers as `LogCapture::dump` does.
std::string withoutSourceLines(const std::string& text);

}  // namespace quorin_test
