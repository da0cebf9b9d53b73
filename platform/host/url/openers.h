#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "md/url.h"

/// @file
/// The built-in openers of `mdch_OpenUrl`: one for each scheme, with its arguments and results.

namespace md::host {

/// Codes of `mdch_OpenUrl`; its documentation says what each means.
enum OpenCode : int {
  OPEN_OK = 0,
  OPEN_NOT_FOUND = 2,
  OPEN_BUSY = 11,
  OPEN_PERMISSION_DENIED = 13,
  OPEN_BAD_URI = 22,
  OPEN_NO_OPENER = 93,
  OPEN_NO_SUCH_HOST = 150,
  OPEN_CONNECTION_REFUSED = 151,
  OPEN_TLS_FAILED = 152,
  OPEN_HTTP_CLIENT_ERROR = 153,
  OPEN_HTTP_REDIRECT = 154,
  OPEN_HTTP_SERVER_ERROR = 155,
  OPEN_TIMED_OUT = 156
};

/// Codes of a failed `read`, `seek`, `tell`, `size` or `getSeekable` of the host's own sources.
enum SourceCode : int {
  SOURCE_READ_FAILED = -5,    ///< the file or connection broke
  SOURCE_NOT_SEEKABLE = -29,  ///< the source cannot seek
  SOURCE_BAD_OFFSET = -22,    ///< a negative offset
  SOURCE_SIZE_UNKNOWN = -38,  ///< the size of the stream is not known
  SOURCE_TRUNCATED = -104,    ///< the body ended before its promised length
  SOURCE_CHANGED = -116,      ///< the item behind the URL became another while it was read
  SOURCE_TIMED_OUT = -110     ///< a time limit ran out
};

/// A path, or a file: URI (RFC 8089) whose path is percent-decoded.
int openFile(const std::string& uri, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url);

/// vdr2://UUID/path: a file of a medium.
int openMedia(const std::string& uri, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url);

/// http:// and https://.
int openHttp(const std::string& uri, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url);

}  // namespace md::host
