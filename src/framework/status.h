#pragma once

namespace zu::md::common::quorin {

/// Status codes of the library's operations. Codes of the media access and of the URL layer pass through beside them.
enum Status : int {
  STATUS_OK = 0,
  STATUS_TRANSLATED = 1,          ///< translator registry: the URI was translated
  STATUS_BEHIND = -1,             ///< the place to skip to lies behind the read position
  STATUS_BAD_ARGUMENT = -1,       ///< translator registry: no translator given, registered already, or not registered
  STATUS_NOT_THIS_FORMAT = -287,  ///< not this analyzer's format, or a required property is missing
  STATUS_NO_MEMORY = -291,        ///< the result record could not be created
  STATUS_NO_ARGUMENT = -292,      ///< no media access given; empty URI
  STATUS_REDIRECT = -293,         ///< the URL layer reported an HTTP redirect
  STATUS_OPEN_FAILED = -294,      ///< busy, malformed, network or server failure
  STATUS_NOT_FOUND = -296,        ///< there is no such item
  STATUS_OPEN_UNKNOWN = -297      ///< any other failure to open
};

}  // namespace zu::md::common::quorin
