#include "support/log_capture.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <ostream>

#include "obq/debug.h"

namespace quorin_test {

namespace {

/// Whether the first `length` characters end as the name of an operation does.
bool endsAsName(const std::string& text, size_t length) {
  return length >= 2 && text[length - 2] == '(' && text[length - 1] == ')';
}

/// Whether the first `length` characters can be the name of a file.
bool isFileName(const std::string& text, size_t length) {
  const auto isOfName = [](unsigned char c) { return std::isalnum(c) != 0 || c == '_' || c == '.' || c == '-'; };
  return length != 0 && std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length), isOfName);
}

}  // namespace

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

// By hand: regular expressions took most of the time of tests that make thousands of analyses.
std::string withoutSourceLines(const std::string& text) {
  std::string shown;
  size_t copied = 0;
  for (size_t colon = text.find(':'); colon != std::string::npos; colon = text.find(':', colon + 1)) {
    const size_t end = std::min(text.find_first_not_of("0123456789", colon + 1), text.size());
    const bool isNumber = end > colon + 1 && end < text.size();
    if (isNumber && (text[end] == ' ' ? endsAsName(text, colon) : text[end] == ':' && isFileName(text, colon))) {
      shown.append(text, copied, colon + 1 - copied) += '#';
      copied = end;
    }
  }
  return shown.append(text, copied);
}

}  // namespace quorin_test
