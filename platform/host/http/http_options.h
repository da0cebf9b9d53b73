#pragma once

#include <string>
#include <vector>

#include "md/url.h"
#include "url/time_limits.h"

/// @file
/// The option texts of an HTTP source.

namespace md::host {

/// How an HTTP source talks.
struct HttpOptions {
  std::string userAgent;
  std::string caBundle;  ///< path of the certificates to trust instead of the system's; empty: the system's
  std::string proxy;     ///< empty: none, whatever the environment says
  std::vector<std::string> headerLines;  ///< extra request header lines, in the form that libcurl takes
  TimeLimits limits;
};

/// Reads the five texts of `params`; null and empty mean the default.
/// @param options untouched on failure
/// @return false for a text that cannot be understood: control characters in the user agent, a CA bundle that cannot be
///         read, a proxy that is no URL of a kind of proxy known here, a header line that is none or that would
///         contradict the requests of the source itself, time limits that do not parse
bool parseHttpOptions(const MdchOpenParams& params, HttpOptions& options);

}  // namespace md::host
