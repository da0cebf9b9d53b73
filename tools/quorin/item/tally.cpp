#include "item/tally.h"

namespace quorin_command {

void Tally::count(const Record& record) {
  ++items_;
  unknown_ += record.kind == Kind::Unknown ? 1U : 0U;
  failed_ += hasFailed(record) ? 1U : 0U;
}

ExitCode Tally::exitCode() const {
  if (failed_ == 0 && unknown_ == 0) {
    return EXIT_ALL_RECOGNISED;
  }
  return failed_ == items_ ? EXIT_ALL_FAILED : EXIT_SOME_FAILED;
}

}  // namespace quorin_command
