#pragma once

#include <string>

#include "quorin/analyze_result.h"

namespace quorin_test {

/// Everything a caller can learn from an answer, one line per property; "none" when there is no answer. Two answers
/// are the same when their descriptions are.
std::string describe(const zu::md::common::quorin::Info* info);

}  // namespace quorin_test
