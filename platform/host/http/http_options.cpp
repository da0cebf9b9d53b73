#include "http/http_options.h"

#include <curl/curl.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <memory>
#include <sstream>
#include <string_view>

namespace md::host {

namespace {

std::string textOf(const char* text) { return text == nullptr ? std::string() : std::string(text); }

/// A character that would end a header line or confuse who reads it.
bool isControl(char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F; }

bool hasControl(const std::string& text) { return std::any_of(text.begin(), text.end(), isControl); }

/// A file of which at least one byte can be read; so neither a folder nor an empty file.
bool isReadableFile(const std::string& path) {
  return std::ifstream(path, std::ios::binary).peek() != std::ifstream::traits_type::eof();
}

/// Asks libcurl's own parser, since it is libcurl that will use the proxy.
bool isProxy(const std::string& text) {
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), curl_url_cleanup);
  if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_GUESS_SCHEME | CURLU_NON_SUPPORT_SCHEME) !=
      CURLUE_OK) {
    return false;
  }
  char* part = nullptr;
  if (curl_url_get(url.get(), CURLUPART_SCHEME, &part, 0) != CURLUE_OK) {
    return false;
  }
  const std::unique_ptr<char, decltype(&curl_free)> scheme(part, curl_free);
  constexpr std::array<std::string_view, 6> kinds = {"http", "https", "socks4", "socks4a", "socks5", "socks5h"};
  return std::find(kinds.begin(), kinds.end(), scheme.get()) != kinds.end();
}

/// A character of a header name (RFC 9110, section 5.6.2).
bool isTokenCharacter(char c) {
  constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         marks.find(c) != std::string_view::npos;
}

/// Lines that only the source may write: they say which bytes it asks for and where its request ends.
bool isReserved(const std::string& name) {
  constexpr std::array<const char*, 4> reserved = {"Range", "If-Range", "Content-Length", "Transfer-Encoding"};
  return std::any_of(reserved.begin(), reserved.end(),
                     [&](const char* own) { return strcasecmp(own, name.c_str()) == 0; });
}

/// Checks one "Name: value" line and brings it into libcurl's form.
bool parseHeaderLine(const std::string& line, std::string& parsed) {
  const size_t colon = line.find(':');
  if (colon == 0 || colon == std::string::npos || hasControl(line)) {
    return false;
  }
  const std::string name = line.substr(0, colon);
  if (!std::all_of(name.begin(), name.end(), isTokenCharacter) || isReserved(name)) {
    return false;
  }
  // To libcurl "Name:" means that the line is not to be sent; an empty value is written "Name;".
  const bool hasValue = line.find_first_not_of(" \t", colon + 1) != std::string::npos;
  parsed = hasValue ? line : name + ';';
  return true;
}

bool parseHeaderLines(const std::string& text, std::vector<std::string>& lines) {
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    std::string parsed;
    if (line.empty()) {
      continue;
    }
    if (!parseHeaderLine(line, parsed)) {
      return false;
    }
    lines.push_back(parsed);
  }
  return true;
}

}  // namespace

bool parseHttpOptions(const MdchOpenParams& params, HttpOptions& options) {
  HttpOptions parsed;
  parsed.userAgent = textOf(params.text0);
  parsed.caBundle = textOf(params.text1);
  parsed.proxy = textOf(params.text2);
  if (parsed.userAgent.empty()) {
    parsed.userAgent = "quorin/" QUORIN_VERSION;
  }
  const bool understood =
      !hasControl(parsed.userAgent) && (parsed.caBundle.empty() || isReadableFile(parsed.caBundle)) &&
      (parsed.proxy.empty() || isProxy(parsed.proxy)) && parseHeaderLines(textOf(params.text3), parsed.headerLines) &&
      parseTimeLimits(params.text4, parsed.limits);
  if (understood) {
    options = parsed;
  }
  return understood;
}

}  // namespace md::host
