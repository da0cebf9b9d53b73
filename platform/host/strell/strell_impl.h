#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "strell/audio_stream.h"
#include "strell/cache_region.h"
#include "strell/checked_source.h"
#include "strell/strell.h"

namespace zu::md::common::strell {

/// One attached source with its cache and its two positions. What each operation does is said at Strell.
///
/// Until the first `seek` the source is never made to move: it stands at the end of the head until that is full and
/// at the read position from then on, because whatever is read goes into the head as long as it fits. So a source
/// that cannot seek, or must not because of its metadata, needs no care of its own.
class MD_PRIVATE Strell::Impl {
 public:
  explicit Impl(boost::shared_ptr<MdchUrlBase> url);

  int readDataCache(unsigned int length, unsigned char*& data);
  const unsigned char* peekDataCache(unsigned int& length);
  unsigned int getDataCacheOffset() const { return cacheOffset_; }
  int setDataCacheOffset(unsigned int offset);

  int readData(unsigned char* buffer, unsigned int length, unsigned int& bytesRead, std::vector<IcyData>& icy);
  long long tell() const { return readOffset_; }
  int seek(long long offset);

  const CheckedSource& source() const { return source_; }

 private:
  CacheRegion& regionAtHand(uint64_t offset);
  unsigned char* cached(uint64_t offset, uint64_t length);
  int readSome(unsigned char* buffer, unsigned int length, unsigned int& bytesRead);

  CheckedSource source_;
  AudioStream stream_;
  CacheRegion head_;
  CacheRegion seekRegion_;
  unsigned int cacheOffset_ = 0;
  bool cacheOffsetHeld_ = true;  ///< false after a move to where no region is
  long long readOffset_ = 0;
};

}  // namespace zu::md::common::strell
