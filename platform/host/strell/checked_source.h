#pragma once

#include <boost/shared_ptr.hpp>
#include <deque>
#include <string>

#include "md/url.h"

namespace zu::md::common::strell {

/// A source that is held to the contract of MdchUrlBase and read at absolute offsets.
///
/// Whatever the source answers, callers see 0 or a negative status and never more bytes than they asked for; a
/// source that answers otherwise fails with `SOURCE_BROKEN`. Offsets are those of the source.
class CheckedSource {
 public:
  /// @param url not empty
  explicit CheckedSource(boost::shared_ptr<MdchUrlBase> url);

  /// Whether the source said, when it was taken, that it can seek.
  bool seekable() const { return seekable_; }

  /// Whether it is of a kind that comes with a response header.
  bool hasHeader() const { return http_ != nullptr; }

  /// Reads with one call of the source, which is made to seek only when it stands elsewhere. Status 0 with 0 bytes
  /// for a `length` above 0 is the end of the stream.
  int readAt(long long offset, unsigned char* buffer, unsigned int length, unsigned int& bytesRead);

  /// Makes the source seek, also when it stands there already.
  int seek(long long offset);

  int size(long long& bytes) const;
  int getSeekable(bool& seekable) const;
  int getHeaderList(std::deque<std::string>& lines) const;
  UrlCost cost() const { return url_->cost(); }

 private:
  boost::shared_ptr<MdchUrlBase> url_;
  ::md::HttpAccess* http_;  ///< the same, if it is one
  bool seekable_;
  long long position_;
};

}  // namespace zu::md::common::strell
