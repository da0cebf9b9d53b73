#pragma once

#include <boost/make_shared.hpp>

#include "framework/status.h"
#include "fuzzed_item.h"
#include "require.h"
#include "unit/format_analysis.h"

namespace quorin_test {

/// Shows a made-up source to one analyzer: it recognises it, or declines and leaves no answer.
template <typename Analyzer>
int fuzzAnalyzer(const uint8_t* data, size_t size) {
  using zu::md::common::quorin::STATUS_NOT_THIS_FORMAT;
  const FuzzedItem item(FuzzInput(data, size));
  const FormatAnalysis<Analyzer> first(item.source());
  require(first.status >= 0 || first.status == STATUS_NOT_THIS_FORMAT, "the status is one of an analyzer");
  require((first.status >= 0) == (first.info != nullptr), "who recognises an item answers, and who declines does not");
  const FormatAnalysis<Analyzer> second(item.source());
  requireSame(first.answer, second.answer, "a fresh analyzer answers the same");
  requireSame(first.exactLog, second.exactLog, "a fresh analyzer logs the same");
  return 0;
}

}  // namespace quorin_test
