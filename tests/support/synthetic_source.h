#pragma once

#include <vector>

#include "md/url.h"
#include "support/scripted_source.h"

namespace quorin_test {

/// A source of any size that computes its bytes: for offsets beyond 32 bits without the memory.
class SyntheticSource : public MdchUrlBase {
 public:
  explicit SyntheticSource(long long size);
  ~SyntheticSource() override;

  static unsigned char byteAt(long long offset);
  /// The bytes [offset, offset + count).
  static Bytes bytesAt(long long offset, size_t count);

  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override;
  int seek(long long offset) override;
  int tell(long long& offset) override;
  int size(long long& bytes) override;
  int getSeekable(bool& seekable) override;

  std::vector<long long> readOffsets;  ///< where each read began

 private:
  long long size_;
  long long position_ = 0;
};

}  // namespace quorin_test
