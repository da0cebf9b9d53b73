#include "output/units.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

namespace quorin_command {

namespace {

/// One decimal where it tells something, none for numbers of three digits and more.
std::string rounded(double value) {
  constexpr double threeDigits = 99.95;
  return fmt::format("{:.{}f}", value, value < threeDigits ? 1 : 0);
}

}  // namespace

std::string grouped(long long number) {
  std::string digits = std::to_string(number);
  const int first = digits.front() == '-' ? 1 : 0;
  for (int at = static_cast<int>(digits.size()) - 3; at > first; at -= 3) {
    digits.insert(static_cast<size_t>(at), 1, ' ');
  }
  return digits;
}

std::string byteCount(long long bytes) {
  constexpr double step = 1024;
  constexpr std::array<const char*, 5> units = {"KiB", "MiB", "GiB", "TiB", "PiB"};
  if (bytes < static_cast<long long>(step)) {
    return fmt::format("{} {}", bytes, bytes == 1 ? "byte" : "bytes");
  }
  double value = static_cast<double>(bytes) / step;
  size_t unit = 0;
  constexpr double roundsToStep = 1023.5;
  while (value >= roundsToStep && unit + 1 < units.size()) {
    value /= step;
    ++unit;
  }
  return fmt::format("{} {}", rounded(value), units[unit]);
}

std::string counted(unsigned int count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string percentage(long long part, long long whole) {
  constexpr double hundred = 100;
  constexpr double leastShown = 0.05;
  const double percent = whole == 0 ? hundred : hundred * static_cast<double>(part) / static_cast<double>(whole);
  // A little is not nothing, and nearly all is not all.
  if (part > 0 && percent < leastShown) {
    return "< 0.1 %";
  }
  return part < whole && percent >= hundred - leastShown ? "> 99.9 %" : fmt::format("{:.1f} %", percent);
}

std::string frequency(int hertz) { return fmt::format("{} kHz", hertz / 1000.0); }

std::string bitRate(int bitsPerSecond) { return fmt::format("{} kbit/s", bitsPerSecond / 1000); }

std::string channelCount(int channels) {
  if (channels == 1) {
    return "mono";
  }
  return channels == 2 ? "stereo" : fmt::format("{} channels", channels);
}

std::string clockTime(long long seconds) {
  const auto hours = seconds / 3600;
  const auto minutes = seconds / 60 % 60;
  return hours > 0 ? fmt::format("{}:{:02}:{:02}", hours, minutes, seconds % 60)
                   : fmt::format("{}:{:02}", minutes, seconds % 60);
}

std::string playingTime(const _obqOsalTime_struct& duration) {
  // A tag that is longer than its file makes an estimate negative. It is shown as it is.
  if (duration.seconds < 10) {
    const double seconds = static_cast<double>(duration.seconds) + duration.microseconds / 1e6;
    return fmt::format("{:.1f} s", std::trunc(seconds * 10) / 10);
  }
  return clockTime(duration.seconds);
}

std::string elapsedTime(long long microseconds) {
  constexpr double microsecondsPerMillisecond = 1e3;
  constexpr double microsecondsPerSecond = 1e6;
  const auto value = static_cast<double>(microseconds);
  return value < microsecondsPerSecond ? rounded(value / microsecondsPerMillisecond) + " ms"
                                       : rounded(value / microsecondsPerSecond) + " s";
}

}  // namespace quorin_command
