#pragma once

#include <curl/curl.h>

namespace quorin_command {

/// libcurl's functions for the parts of a URL. They are looked up by the first redirect: a command that looks at a
/// local file does not wait for libcurl and the dozens of libraries behind it.
struct UrlApi {
  decltype(&curl_url) create;
  decltype(&curl_url_cleanup) destroy;
  decltype(&curl_url_set) set;
  decltype(&curl_url_get) get;
  decltype(&curl_free) freeText;

  /// @throws std::runtime_error when libcurl cannot be loaded
  static const UrlApi& instance();
};

}  // namespace quorin_command
