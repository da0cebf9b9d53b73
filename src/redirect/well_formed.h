#pragma once

#include "quorin/analyze_result.h"
#include "strell/strell.h"

namespace zu::md::common::quorin {

/// Turns an HTTP or HTTPS URI that the URL layer would write differently into a redirect to what it would write, so
/// that an item is analysed, and known to caches and histories, under one URI only.
void checkWellFormed(strell::OpenParams const& params, AnalyzeResult& result);

}  // namespace zu::md::common::quorin
