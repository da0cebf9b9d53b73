#pragma once

/// @file
/// The URL layer: opening a source of bytes by its URI, and reading it.
///
/// @code
///   boost::shared_ptr<MdchUrlBase> url;
///   MdchOpenParams params = {};
///   if (mdch_OpenUrl("file:///music/a.mp3", 0, params, url) == 0) {
///     unsigned char bytes[512];
///     unsigned int got = 0;
///     url->read(bytes, sizeof bytes, got);
///   }
/// @endcode
///
/// All functions may be called from any thread, and by several at a time; a source is used by one at a time.

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>

#include "md/export.h"

/// What a source has cost since it was opened.
struct UrlCost {
  unsigned long long bytes = 0;  ///< payload bytes taken from the file or received from the network
  unsigned int reads = 0;        ///< read calls made on the file or connection for them
  unsigned int requests = 0;     ///< network requests; 0 for local sources
};

/// One opened source of bytes.
///
/// The contract, for every implementation:
///  - A source has one position, 0 after opening. `read` moves it, `seek` sets it.
///  - `read` may deliver fewer bytes than asked for at any time. Status 0 with 0 bytes means the end of the
///    stream, now and on every further call, until a `seek` back. Asking for 0 bytes delivers 0 bytes.
///  - A failing `read` may have delivered bytes before the failure: `bytesRead` counts them, they are good, and
///    the position is behind them.
///  - `seek` is refused by a source that cannot seek; the position stays. Seeking to or beyond the end is
///    allowed, the next `read` meets the end. A negative offset is refused, the position stays.
///  - Every failure is a negative number. An out-parameter of a failed call, `bytesRead` excepted, is untouched.
///    The host's own sources use: -5 the file or connection broke, -22 a negative offset, -29 cannot seek, -38 the
///    size is not known, -104 the body ended before its promised length, -110 a time limit ran out, -116 the item
///    became another while it was read.
///  - A source is used by one thread at a time. Destruction closes it.
class MD_API MdchUrlBase {
 public:
  /// Closes the source.
  virtual ~MdchUrlBase() = default;

  /// Reads at the current position.
  /// @param buffer receives up to `length` bytes
  /// @param length most bytes to deliver
  /// @param bytesRead number of bytes delivered, also on failure
  /// @return 0, or a negative failure
  virtual int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) = 0;

  /// Sets the position. Costs no I/O; a failure to get there may show only in the next `read`.
  /// @param offset bytes from the start of the stream, 0 or more
  /// @return 0, or a negative failure
  virtual int seek(long long offset) = 0;

  /// Tells the position.
  /// @param offset receives it, in bytes from the start of the stream
  /// @return 0, or a negative failure
  virtual int tell(long long& offset) = 0;

  /// Tells the length of the stream; fails when it is not known (live streams, pipes).
  /// @param bytes receives it
  /// @return 0, or a negative failure
  virtual int size(long long& bytes) = 0;

  /// Tells whether `seek` can work.
  /// @param seekable receives the answer
  /// @return 0, or a negative failure
  virtual int getSeekable(bool& seekable) = 0;

  /// What this source has cost so far.
  /// @return all zero for a source that does not count
  virtual UrlCost cost() const { return UrlCost(); }
};

/// How to open a source. Nine words on a 32-bit machine; texts are C strings, null meaning "not given". They have to
/// live as long as the call of `mdch_OpenUrl`.
///
/// What the texts mean is up to the platform; here stands what they mean to the host's HTTP. Its local sources take the
/// time limits alone, for pipes. A text that cannot be understood is code 22 of `mdch_OpenUrl`.
struct MdchOpenParams {
  const char* text0;   ///< user agent; "quorin/VERSION" when not given
  uint32_t mode;       ///< open mode bits 0 to 5; the host gives them no meaning
  uint32_t reserved0;  ///< 0
  const char* text1;   ///< path of the CA bundle to trust instead of the system's
  const char* text2;   ///< proxy, such as "http://host:port" or "socks5://host:port"; when not given, none
  /// Extra request header lines (RFC 9110), "Name: value", separated by line feeds. Range, If-Range, Content-Length and
  /// Transfer-Encoding are the source's own and refused.
  const char* text3;
  /// Time limits, "connect=SECONDS;stall=SECONDS;total=SECONDS", each optional: until the connection stands, 10 when
  /// not given; without a byte arriving, 15; until the last byte, none. Decimal numbers up to 1000000; 0 takes the
  /// limit away.
  const char* text4;
  uint32_t reserved1;  ///< 0
  uint32_t reserved2;  ///< 0
};
static_assert(sizeof(void*) != 4 || sizeof(MdchOpenParams) == 9 * sizeof(uint32_t), "nine 32-bit words");

/// Opens a source.
///
/// The opener is picked by the scheme of the URI, upper and lower case alike; a text without a scheme or with a
/// leading "/" is the path of a local file. An opener registered by `md::registerUrlScheme` wins over a
/// built-in one ("file", "vdr2", "http", "https" on the host).
///
/// @param uri NUL-terminated; never null. User and password in it are for its server alone: neither another one nor the
///   log is told
/// @param params see MdchOpenParams
/// @param url receives the source on 0 and on 154, and is left alone otherwise
/// @return
///   | code | meaning |
///   | --- | --- |
///   | 0 | open |
///   | 2 | no such file or directory; HTTP 404 and 410 |
///   | 11 | the source is busy, try later; HTTP 429 and 503 |
///   | 13 | permission denied; HTTP 401 and 403 |
///   | 22 | not a usable URI, or an option text that cannot be understood |
///   | 93 | no opener for this scheme |
///   | 150 | the host name does not resolve |
///   | 151 | connection refused or unreachable |
///   | 152 | TLS failure, an untrusted certificate included |
///   | 153 | any other HTTP 4xx, a response that is not HTTP |
///   | 154 | HTTP redirect (301, 302, 303, 307, 308): `url` is set and holds the header; it is not followed |
///   | 155 | any other HTTP 5xx |
///   | 156 | a time limit ran out |
MD_API int mdch_OpenUrl(const char* uri, int, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url);

/// The URL layer beyond `mdch_OpenUrl`: HTTP sources, repair of URLs, schemes of one's own.
namespace md {

/// A source that was opened by HTTP and has a response header.
class MD_API HttpAccess : public MdchUrlBase {
 public:
  /// Tells the header of the last response.
  /// @param lines replaced by the header lines: the status line first, line ends kept; untouched on failure
  /// @return 0, or a negative failure
  virtual int getHeaderList(std::deque<std::string>& lines) = 0;
};

/// Repairs a URL of the schemes http, https, mms, mmsh, rtsp and rtp (in any case, followed by "://"): blanks,
/// tabs and line ends at both ends go, scheme and host become lower case, and in path, query and fragment every
/// byte that RFC 3986 does not let stand there is escaped with upper-case digits. Any other input, and every
/// well-formed URL, comes back byte for byte. Total and idempotent.
/// @param url any text
/// @return the repaired URL
MD_API std::string urlPatch(const std::string& url);

/// Opens a URI for `mdch_OpenUrl`, with the same arguments and results.
using UrlOpener =
    std::function<int(const std::string& uri, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url)>;

/// Registers the opener of a scheme, replacing the one registered before. May be called from any thread, also
/// from an opener; a call of the previous opener that is under way runs to its end.
/// @param scheme without the colon, upper and lower case alike; empty for paths
/// @param opener an empty function unregisters; a built-in opener shows again then
MD_API void registerUrlScheme(const std::string& scheme, UrlOpener opener);

/// The opener that `mdch_OpenUrl` asks for a scheme at present: the registered one, else the built-in one. So a caller
/// can put an opener of his own around it, one that counts or watches:
/// @code
///   md::registerUrlScheme("http", [inner = md::urlOpener("http")](auto& uri, auto& params, auto& url) {
///     const int code = inner(uri, params, url);
///     ...
///     return code;
///   });
/// @endcode
/// @param scheme as above
/// @return an empty function when nothing opens the scheme
MD_API UrlOpener urlOpener(const std::string& scheme);

}  // namespace md
