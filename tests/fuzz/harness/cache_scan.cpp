// The scan of the cache comes to the same as reading, comparing and stepping one byte on, whatever the source does:
// same answer, same place, same log, and the source is asked the same.

#include "fuzzed_item.h"
#include "require.h"
#include "unit/scan_case.h"

using namespace quorin_test;

namespace {

constexpr size_t farBehindTheHead = 70000;  // bytes; steps through more take too long

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  ScanCase scan;
  scan.pattern.length = 2 + static_cast<unsigned>(input.number(1) % 3);
  for (unsigned i = 0; i < scan.pattern.length; ++i) {
    scan.pattern.mask[i] = i == 0 ? 0xff : static_cast<unsigned char>(input.number(1));
    scan.pattern.value[i] = static_cast<unsigned char>(input.number(1) & scan.pattern.mask[i]);
  }
  scan.start = static_cast<unsigned>(input.number(2));
  scan.limit = static_cast<unsigned>(input.number(3)) % farBehindTheHead;
  scan.seekBefore = static_cast<long long>(input.number(3)) - 1;
  scan.readBefore = static_cast<unsigned>(input.number(2));
  scan.script = FuzzedItem(input).script;
  scan.script.bytes.resize(std::min(scan.script.bytes.size(), farBehindTheHead));
  const ScanOutcome fast = scan.fast();
  const ScanOutcome stepwise = scan.stepwise();
  require(fast.found == stepwise.found, "both find a sync, or neither does");
  require(fast.offset == stepwise.offset, "both stand at the same place");
  requireSame(fast.log, stepwise.log, "both log the same");
  require(fast.readLengths == stepwise.readLengths, "both read the same lengths");
  require(fast.readOffsets == stepwise.readOffsets, "both read at the same places");
  require(fast.seekTargets == stepwise.seekTargets, "both seek to the same places");
  return 0;
}
