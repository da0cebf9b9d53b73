#pragma once

#include <string>

#include "analysis.h"
#include "support/scripted_source.h"

namespace quorin_test {

/// The size that a source with this script tells, when it tells one.
long long toldSize(const SourceScript& script);

/// What holds for the analysis of every item that could be opened, whatever its bytes and whatever fails: what is wrong
/// with it; empty when nothing is.
std::string unsoundness(const Analysis& analysis, const SourceScript& script);

}  // namespace quorin_test
