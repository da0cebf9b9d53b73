#include "framework/cache_read.h"

#include "framework/log.h"

namespace zu::md::common::quorin {

const unsigned char* readCached(strell::Strell& strell, unsigned int length, const ReadPlace& place) {
  unsigned char* data = nullptr;
  const int status = strell.readDataCache(length, data);
  if (status != 0 || data == nullptr) {
    QUORIN_LOG(Error, "%s::%s():%i error reading cached data ret=%i buffer=%p!\n", place.analyzer, place.operation,
               place.line, status, static_cast<void*>(data));
    return nullptr;
  }
  return data;
}

}  // namespace zu::md::common::quorin
