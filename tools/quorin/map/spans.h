#pragma once

#include <vector>

namespace quorin_command {

/// The bytes of a stream from `begin` up to, but not including, `end`.
struct Span {
  long long begin;
  long long end;

  long long length() const { return end - begin; }
};

inline bool operator==(const Span& a, const Span& b) { return a.begin == b.begin && a.end == b.end; }

/// The same bytes in order, each once: spans that overlap or touch become one, empty ones go.
std::vector<Span> merged(std::vector<Span> spans);

/// How many bytes merged spans hold.
long long lengthOf(const std::vector<Span>& spans);

}  // namespace quorin_command
