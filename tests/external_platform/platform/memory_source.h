#pragma once

#include <boost/shared_ptr.hpp>
#include <vector>

#include "md/url.h"

namespace memory_platform {

/// An opened item.
class MemorySource : public MdchUrlBase {
 public:
  explicit MemorySource(boost::shared_ptr<const std::vector<unsigned char>> bytes);
  ~MemorySource() override;

  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override;
  int seek(long long offset) override;
  int tell(long long& offset) override;
  int size(long long& bytes) override;
  int getSeekable(bool& seekable) override;
  UrlCost cost() const override;

 private:
  boost::shared_ptr<const std::vector<unsigned char>> bytes_;
  unsigned long long next_ = 0;
  UrlCost cost_;
};

}  // namespace memory_platform
