#pragma once

#include <boost/shared_ptr.hpp>

#include "quorin/info.h"
#include "strell/strell.h"

namespace zu::md::common::quorin {

/// One audio format. The driver offers it a source; it recognises the stream or declines.
class AnalyzerBase {
 public:
  virtual ~AnalyzerBase();

  /// Looks at `strell` from cache offset 0 on, wherever an analyzer before it stopped.
  /// @param info receives an AudioInfo when the stream is recognised, and is left alone otherwise
  /// @return 0 or more when recognised; STATUS_NOT_THIS_FORMAT; STATUS_NO_ARGUMENT for an empty `strell`
  virtual int analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) = 0;

  /// Reads on to the stream offset `offset` and drops what comes before it, so that playing starts there. Never goes
  /// back and never seeks, so it works with every source.
  /// @return 0, also when reading failed on the way; STATUS_BEHIND when the read position is past `offset`;
  ///   STATUS_NO_ARGUMENT without `strell`; or the failure to tell the read position
  static int skipData(boost::shared_ptr<strell::Strell> const& strell, long long offset);
};

}  // namespace zu::md::common::quorin
