#pragma once

#include <string>
#include <string_view>
#include <vector>

/// @file
/// The library of files that everything is measured on.

namespace quorin_bench {

/// One file, and what is measured on it.
struct Item {
  std::string variant;
  std::string part;  ///< "library", or "large" for what is measured but does not count as part of the library
  std::string path;
  size_t number;  ///< its place in the list, from 0
};

/// The items that a line each of the file `list` names: variant, part and path, with tabs between.
std::vector<Item> readList(const std::string& list);

/// The status with which an analysis of a file of a variant has to end: a time without the work is worth nothing.
/// @return 0, or -287, that no format recognised it, for a variant whose name begins with "unrecognised"
inline int expectedStatus(std::string_view variant) {
  constexpr std::string_view unrecognised = "unrecognised";
  return variant.substr(0, unrecognised.size()) == unrecognised ? -287 : 0;
}

}  // namespace quorin_bench
