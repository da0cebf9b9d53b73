#pragma once

#include <string>
#include <utility>

/// @file
/// What a server that serves ranges says, for the scripts of a `RawServer`.

namespace quorin_test {

/// First and last offset of a request's Range line.
std::pair<size_t, size_t> rangeOf(const std::string& request);

/// The header of an answer with the bytes [first, last] of `total`.
/// @param moreLines whole header lines, line ends included
std::string partHeader(size_t first, size_t last, size_t total, const std::string& moreLines = "");

/// The answer of a server that keeps its word.
std::string part(const std::string& request, const std::string& item, const std::string& moreLines = "");

}  // namespace quorin_test
