#include "strell/strell.h"

#include <utility>

#include "strell/strell_impl.h"

namespace zu::md::common::strell {

Strell::Strell() = default;

Strell::~Strell() = default;

int Strell::attach(boost::shared_ptr<MdchUrlBase> url) {
  if (!url) {
    return NO_SOURCE;
  }
  impl_.reset(new Impl(std::move(url)));
  return 0;
}

int Strell::readDataCache(unsigned int length, unsigned char*& data) {
  data = nullptr;
  return impl_ ? impl_->readDataCache(length, data) : NOT_ATTACHED;
}

const unsigned char* Strell::peekDataCache(unsigned int& length) {
  length = 0;
  return impl_ ? impl_->peekDataCache(length) : nullptr;
}

unsigned int Strell::getDataCacheOffset() { return impl_ ? impl_->getDataCacheOffset() : 0; }

int Strell::setDataCacheOffset(unsigned int offset) { return impl_ ? impl_->setDataCacheOffset(offset) : NOT_ATTACHED; }

int Strell::readData(unsigned char* buffer, unsigned int length, unsigned int& bytesRead, std::vector<IcyData>& icy) {
  bytesRead = 0;
  return impl_ ? impl_->readData(buffer, length, bytesRead, icy) : NOT_ATTACHED;
}

int Strell::tell(long long& offset) {
  if (!impl_) {
    return NOT_ATTACHED;
  }
  offset = impl_->tell();
  return 0;
}

int Strell::seek(long long offset) { return impl_ ? impl_->seek(offset) : NOT_ATTACHED; }

int Strell::size(long long& bytes) { return impl_ ? impl_->source().size(bytes) : NOT_ATTACHED; }

int Strell::getSeekable(bool& seekable) { return impl_ ? impl_->source().getSeekable(seekable) : NOT_ATTACHED; }

int Strell::getHeaderList(std::deque<std::string>& lines) {
  return impl_ ? impl_->source().getHeaderList(lines) : NOT_ATTACHED;
}

UrlCost Strell::cost() const { return impl_ ? impl_->source().cost() : UrlCost(); }

}  // namespace zu::md::common::strell
