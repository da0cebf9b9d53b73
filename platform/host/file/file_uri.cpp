#include "file/file_uri.h"

#include <algorithm>
#include <utility>

#include "text/ascii.h"

namespace md::host {

namespace {

std::string percentDecoded(const std::string& text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const bool hasRoom = text[i] == '%' && i + 2 < text.size();
    const int high = hasRoom ? hexValue(text[i + 1]) : -1;
    const int low = hasRoom ? hexValue(text[i + 2]) : -1;
    if (high >= 0 && low >= 0) {
      decoded += static_cast<char>(high * 16 + low);
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

/// Takes "//host" off the front of what follows "file:".
/// @return false when the host is another machine
bool removeAuthority(std::string& rest) {
  if (rest.compare(0, 2, "//") != 0) {
    return true;
  }
  const size_t end = std::min(rest.find('/', 2), rest.size());
  const std::string host = rest.substr(2, end - 2);
  rest.erase(0, end);
  return host.empty() || lowerCased(host) == "localhost";
}

}  // namespace

bool pathOfFileUri(const std::string& text, std::string& path) {
  constexpr std::string_view scheme = "file:";
  std::string found = text;
  if (startsWithIgnoringCase(text, scheme)) {
    found.erase(0, scheme.size());
    if (!removeAuthority(found)) {
      return false;
    }
    found = percentDecoded(found);
  }
  if (found.empty() || found.find('\0') != std::string::npos) {
    return false;
  }
  path = std::move(found);
  return true;
}

}  // namespace md::host
