#include "framework/analyzer_base.h"

#include <algorithm>
#include <vector>

#include "framework/log.h"
#include "framework/status.h"

namespace zu::md::common::quorin {

namespace {

constexpr unsigned int maxSkipChunk = 10000;  // bytes; the buffer lies on the stack

unsigned int nextChunk(long long remaining) {
  return static_cast<unsigned int>(std::min<long long>(maxSkipChunk, remaining));
}

}  // namespace

AnalyzerBase::~AnalyzerBase() = default;

int AnalyzerBase::skipData(boost::shared_ptr<strell::Strell> const& strell, long long offset) {
  static const char* const name = "skipData";
  QUORIN_LOG(Debug, "AnalyzerBase::%s():%i to offset %lli.\n", name, __LINE__, offset);
  if (!strell) {
    QUORIN_LOG(Error, "AnalyzerBase::%s():%i need strell \n", name, __LINE__);
    return STATUS_NO_ARGUMENT;
  }
  long long current = 0;
  if (const int status = strell->tell(current); status != STATUS_OK) {
    QUORIN_LOG(Error, "AnalyzerBase::%s():%i error getting current offset. err=%i!\n", name, __LINE__, status);
    return status;
  }
  long long remaining = offset - current;
  if (remaining < 0) {
    QUORIN_LOG(Error, "AnalyzerBase::%s():%i error current offset behind offset. cur=%lli offs=%lli!\n", name, __LINE__,
               current, offset);
    return STATUS_BEHIND;
  }
  QUORIN_LOG(Debug, "AnalyzerBase::%s():%i skipping %lli bytes.\n", name, __LINE__, remaining);
  unsigned char buffer[maxSkipChunk];
  std::vector<strell::IcyData> icy;
  while (remaining != 0) {
    unsigned int got = 0;
    icy.clear();  // nobody reads them, and a server may send more of them than there is memory
    int status = strell->readData(buffer, nextChunk(remaining), got, icy);
    if (status == STATUS_OK && got == 0) {
      status = strell::END_OF_STREAM;  // no progress would mean no end
    }
    if (status != STATUS_OK) {
      // kept: the caller is not told, an item that breaks off here is still what it was recognised as
      QUORIN_LOG(Error, "AnalyzerBase::%s():%i error reading data err=%i!\n", name, __LINE__, status);
      break;
    }
    remaining -= got;
  }
  return STATUS_OK;
}

}  // namespace zu::md::common::quorin
