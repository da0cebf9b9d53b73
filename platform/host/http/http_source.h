#pragma once

#include <deque>
#include <memory>
#include <string>

#include "http/http_response.h"
#include "http/http_transfer.h"
#include "http/http_window.h"
#include "md/url.h"

namespace md::host {

/// Bytes that the first request asks for. The headers of most items fit, and a small item comes whole.
constexpr long long firstRange = 16LL * 1024;

/// An item behind an HTTP(S) URL.
///
/// It is either **seekable** (the server answered the request for the first bytes with them and the size of the item)
/// or a **stream**: the body of one response, read from its start to its end.
///
/// A read inside the bytes that came last (`HttpWindow`) costs nothing. Any other read of a seekable item
///  - goes on with the response under way when the position is at most `shortSkip` ahead of it,
///  - else asks for a range that starts at the position: `firstRange` bytes after a jump, and twice as many each time
///    while reading goes on where the last range ended, so that playing an item needs few requests; but exactly the
///    bytes wanted when a single read wants more than `firstRange`.
/// All on one connection as long as the server keeps it.
///
/// The first failure of the network is final: from then on every read that needs the network fails at once with the
/// same code, so that a caller who tries further does not wait for a time limit each time.
class HttpSource : public HttpAccess {
 public:
  /// Position ahead of a response under way up to which reading on is cheaper than asking again.
  static constexpr long long shortSkip = 16LL * 1024;
  /// Longest range, and so the most that is received in vain when the reader jumps away.
  static constexpr long long largestRange = 1024LL * 1024;

  /// @param transfer has just received the header of the first response
  explicit HttpSource(std::unique_ptr<HttpTransfer> transfer);

  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override;
  int seek(long long offset) override;
  int tell(long long& offset) override;
  int size(long long& bytes) override;
  int getSeekable(bool& seekable) override;
  UrlCost cost() const override;
  int getHeaderList(std::deque<std::string>& lines) override;

 private:
  int fetch(unsigned int wanted);
  bool isJustAhead() const;
  int requestRange(unsigned int wanted);
  int receive();

  const std::unique_ptr<HttpTransfer> transfer_;
  const HttpResponse first_;
  const bool seekable_;
  const long long size_;  ///< -1 when not known
  long long position_ = 0;
  long long rangeLength_ = firstRange;  ///< of the last range asked for
  long long rangeEnd_;                  ///< offset behind the last byte that the response promised; seekable items only
  HttpWindow window_;
  std::vector<unsigned char> received_;
  int failure_ = 0;
  unsigned int reads_ = 0;  ///< reads that waited for the network
};

}  // namespace md::host
