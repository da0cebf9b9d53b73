#pragma once

#include <string_view>
#include <vector>

namespace quorin_command {

/// The candidate that `word` is most likely a misspelling of; empty when none is near. Near means: at most two letters
/// added, missing, changed or swapped with their neighbour, and not more than a third of the candidate.
std::string_view nearest(std::string_view word, const std::vector<std::string_view>& candidates);

}  // namespace quorin_command
