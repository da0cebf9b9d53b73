#pragma once

/// @file
/// What `Analyzer::analyze` hands out.

#include <boost/shared_ptr.hpp>

#include "quorin/info.h"
#include "strell/strell.h"

namespace zu::md::common::quorin {

/// The answer of one `Analyzer::analyze`. Owned by the caller; it keeps the source open as long as it lives.
struct AnalyzeResult {
  /// What the item is; empty only when the item could not be opened.
  boost::shared_ptr<Info> info;

  /// The opened source, standing where playing begins; empty when the answer was found without opening it.
  boost::shared_ptr<strell::Strell> strell;
};

}  // namespace zu::md::common::quorin
