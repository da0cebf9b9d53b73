#pragma once

/// @file
/// Parts of URLs at random, the same on every machine.

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace quorin_test {

/// Draws text from a fixed seed, the same on every machine (the distributions of the standard library are not).
class Generator {
 public:
  explicit Generator(unsigned int seed) : random_(seed) {}

  size_t below(size_t count) { return random_() % count; }

  bool chance(unsigned int percent) { return below(100) < percent; }

  const std::string& oneOf(const std::vector<std::string>& choices) { return choices[below(choices.size())]; }

  std::string someOf(const std::vector<std::string>& choices, size_t most) {
    std::string text;
    for (size_t i = below(most + 1); i > 0; --i) {
      text += oneOf(choices);
    }
    return text;
  }

  std::string characters(const std::string& from, size_t least, size_t most) {
    std::string text;
    for (size_t i = least + below(most - least + 1); i > 0; --i) {
      text += from[below(from.size())];
    }
    return text;
  }

  char byte() { return static_cast<char>(random_() & 0xFF); }

 private:
  std::mt19937 random_;
};

inline const std::string lowerLetters = "abcdefghijklmnopqrstuvwxyz";
inline const std::string digits = "0123456789";
inline const std::string unreserved = lowerLetters + "ABCDEFGHIJKLMNOPQRSTUVWXYZ" + digits + "-._~";
inline const std::string subDelimiters = "!$&'()*+,;=";
inline const std::vector<std::string> allSchemes = {"http", "https", "mms", "mmsh", "rtsp", "rtp"};

/// An authority with its host in lower case.
std::string soundAuthority(Generator& draw, bool withUser);

}  // namespace quorin_test
