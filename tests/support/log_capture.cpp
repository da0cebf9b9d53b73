#include "support/log_capture.h"

#include <ostream>
#include <regex>

#include "obq/debug.h"

namespace quorin_test {

std::ostream& operator<<(std::ostream& stream, const LogLine& line) {
  return stream << std::hex << line.module << std::dec << ' ' << line.level << ' ' << line.text;
}

LogCapture::LogCapture(uint32_t mostVerbose) {
  obq::setDebugSink([this](uint32_t module, uint32_t level, std::string_view text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    lines_.push_back({module, level, std::string(text)});
  });
  obq::setDebugLevel(libraryModule, mostVerbose);
}

LogCapture::~LogCapture() {
  obq::setDebugLevel(libraryModule, 0);
  obq::setDebugSink(obq::DebugSink());
}

std::vector<LogLine> LogCapture::lines() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return lines_;
}

void LogCapture::clear() {
  const std::lock_guard<std::mutex> lock(mutex_);
  lines_.clear();
}

std::string LogCapture::dump() const {
  std::string text;
  for (const LogLine& line : lines()) {
    text += std::to_string(line.level) + ' ' + withoutSourceLines(line.text);
  }
  return text;
}

int LogCapture::count(uint32_t level, std::string_view text) const {
  int found = 0;
  for (const LogLine& line : lines()) {
    found += line.level == level && line.text == text ? 1 : 0;
  }
  return found;
}

int LogCapture::countContaining(std::string_view part) const {
  int found = 0;
  for (const LogLine& line : lines()) {
    found += line.text.find(part) != std::string::npos ? 1 : 0;
  }
  return found;
}

std::string withoutSourceLines(const std::string& text) {
  static const std::regex afterName("(\\(\\)):[0-9]+ ");
  static const std::regex afterFile("^([A-Za-z0-9_.-]+):[0-9]+:");
  return std::regex_replace(std::regex_replace(text, afterName, "$1:# "), afterFile, "$1:#:");
}

}  // namespace quorin_test
