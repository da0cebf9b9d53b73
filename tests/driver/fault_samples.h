#pragma once

#include <deque>
#include <string>
#include <vector>

#include "support/scripted_source.h"

namespace quorin_test {

/// An item that the fault matrix damages.
struct FaultSample {
  std::string name;  ///< also of its golden file
  Bytes bytes;
  std::deque<std::string> header;  ///< response header; an item without one does not come over HTTP
  bool needsSize = false;          ///< is not recognised without its size
  bool live = false;               ///< its source tells no size and cannot seek
};

/// Every format, every way through its analyzer that the faults could meet.
const std::vector<FaultSample>& faultSamples();

}  // namespace quorin_test
