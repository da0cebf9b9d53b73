#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

/// @file
/// The header of an HTTP response (RFC 9110, RFC 9112), and what it says about the item.

namespace md::host {

/// Longest header line taken. Real ones (cookies, security policies) stay far below.
constexpr size_t longestHeaderLine = size_t{64} * 1024;
/// Most header bytes taken for one request, so that a header without an end ends.
constexpr size_t largestHeader = size_t{256} * 1024;

/// Collects header lines as they arrive, until the header of the final response is complete. Headers of interim (1xx)
/// responses before it are dropped, and so are the lines that may follow a chunked body.
class HeaderBlock {
 public:
  /// Takes the next line, line end included.
  /// @return false when a limit is exceeded, and when the body comes compressed for its way (Transfer-Encoding), which
  ///         libcurl would undo although nobody asked, into any amount of memory
  bool add(std::string_view line);

  /// Whether the empty line that ends the header of the final response has come.
  bool complete() const { return complete_; }

  /// The status line and all others in order, line ends kept, the empty line included.
  const std::deque<std::string>& lines() const { return lines_; }

 private:
  std::deque<std::string> lines_;
  size_t bytes_ = 0;
  bool complete_ = false;
};

/// Content-Range of a partial response (RFC 9110, section 14.4).
struct ContentRange {
  long long first;  ///< offset of the first byte of the body
  long long last;   ///< offset of its last byte
  long long total;  ///< bytes of the whole item, -1 when the server does not know
};

/// Parses "bytes FIRST-LAST/TOTAL".
/// @return nothing when it is malformed or contradicts itself, and for "bytes */TOTAL", which carries no range
std::optional<ContentRange> parseContentRange(std::string_view value);

/// What the header of a response says.
struct HttpResponse {
  long status = 0;
  std::deque<std::string> headerLines;
  std::optional<ContentRange> contentRange;
  long long length = -1;  ///< bytes of the body, -1 when not told
  std::string etag;
  std::string lastModified;
  bool icyMetadata = false;  ///< metadata blocks are mixed into the body, so it has no offsets to ask for
};

/// Whether this answer to a request for the first bytes shows an item whose bytes can be asked for by their offsets.
bool opensSeekable(const HttpResponse& response);

/// Whether a request for a range was turned down although the item may well be had as a whole.
bool refusesRange(const HttpResponse& response);

/// Whether a later response is about the same version of the item as the first one.
bool isSameItem(const HttpResponse& first, const HttpResponse& later);

}  // namespace md::host
