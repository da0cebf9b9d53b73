#include "map/spans.h"

#include <algorithm>

namespace quorin_command {

std::vector<Span> merged(std::vector<Span> spans) {
  std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.begin < b.begin; });
  std::vector<Span> result;
  for (const Span& span : spans) {
    if (span.length() <= 0) {
      continue;
    }
    if (!result.empty() && span.begin <= result.back().end) {
      result.back().end = std::max(result.back().end, span.end);
    } else {
      result.push_back(span);
    }
  }
  return result;
}

long long lengthOf(const std::vector<Span>& spans) {
  long long length = 0;
  for (const Span& span : spans) {
    length += span.length();
  }
  return length;
}

}  // namespace quorin_command
