#pragma once

#include <vector>

#include "map/spans.h"
#include "md/url.h"

namespace quorin_command {

/// What the URL layer answered while one item was analysed.
struct Sighting {
  static constexpr int noOpener = 93;

  int openCode = noOpener;  ///< code of `mdch_OpenUrl`
  int readFailure = 0;      ///< the last failure of a `read`; 0 when there was none
  std::vector<Span> read;   ///< what was read, in the order in which it was
  UrlCost closed;           ///< what the sources have cost that are closed again
};

/// Adds what one source has cost to a sum.
void add(UrlCost& sum, const UrlCost& cost);

/// Puts a watching opener around every opener of the host. The library tells that an item cannot be opened or read, not
/// why; here it can be learned without opening the item a second time.
void watchSources();

/// What this thread has seen since the last `forgetSightings`.
const Sighting& sighting();

/// To be called before each item.
void forgetSightings();

}  // namespace quorin_command
