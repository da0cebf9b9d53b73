#include "command_line/nearest.h"

#include <algorithm>

namespace quorin_command {

namespace {

/// Damerau-Levenshtein distance, with swaps of neighbours only.
size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<size_t>> cost(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) {
    for (size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[i][j] = i + j;
        continue;
      }
      const size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
      cost[i][j] = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, cost[i - 1][j - 1] + change});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
      }
    }
  }
  return cost[a.size()][b.size()];
}

constexpr size_t mostMistakes = 2;

}  // namespace

std::string_view nearest(std::string_view word, const std::vector<std::string_view>& candidates) {
  std::string_view found;
  size_t best = mostMistakes + 1;
  for (const std::string_view candidate : candidates) {
    if (word.size() > candidate.size() + mostMistakes) {
      continue;  // and nobody has to work through a word of any length
    }
    const size_t mistakes = distance(word, candidate);
    if (mistakes < best && mistakes * 3 <= candidate.size() + 1) {
      best = mistakes;
      found = candidate;
    }
  }
  return found;
}

}  // namespace quorin_command
