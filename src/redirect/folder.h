#pragma once

#include "quorin/analyze_result.h"
#include "strell/strell.h"

namespace zu::md::common::quorin {

/// Recognises the URI of a directory: of a medium ("vdr2://UUID/path"), or local ("file:path" or an absolute path).
/// The path is taken as it is written, escapes included. Any other URI is not looked at.
/// @throws std::out_of_range for the URI "file" alone
void checkIfFolder(strell::OpenParams const& params, AnalyzeResult& result);

}  // namespace zu::md::common::quorin
