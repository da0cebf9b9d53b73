#include <algorithm>
#include <string>
#include <string_view>

#include "md/url.h"
#include "text/ascii.h"

namespace {

using md::host::hexValue;
using md::host::isDigit;
using md::host::isLetter;
using md::host::lowerCased;

constexpr std::string_view schemes[] = {"http", "https", "mms", "mmsh", "rtsp", "rtp"};
constexpr std::string_view schemeEnd = "://";

std::string_view stripped(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const size_t first = std::min(text.find_first_not_of(blanks), text.size());
  text.remove_prefix(first);
  return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// Length of the scheme of a URL that is ours to repair; 0 for any other text.
size_t schemeLength(std::string_view text) {
  const size_t length = text.find(schemeEnd);
  if (length == std::string_view::npos) {
    return 0;
  }
  const std::string scheme = lowerCased(text.substr(0, length));
  return std::find(std::begin(schemes), std::end(schemes), scheme) == std::end(schemes) ? 0 : length;
}

/// Copies an authority with its host in lower case. User, password and port are somebody's secrets and habits; they and
/// all that cannot stand in an authority are for the transport to judge.
void appendAuthority(std::string& out, std::string_view authority) {
  const size_t at = authority.rfind('@');
  const size_t hostStart = at == std::string_view::npos ? 0 : at + 1;
  const bool isLiteral =
      hostStart < authority.size() && authority[hostStart] == '[';  // an address: colons are part of it
  const size_t hostEnd = std::min(authority.find(isLiteral ? ']' : ':', hostStart), authority.size());
  out += authority.substr(0, hostStart);
  out += lowerCased(authority.substr(hostStart, hostEnd - hostStart));
  out += authority.substr(hostEnd);
}

/// Whether `c` may stand in path, query and fragment alike (RFC 3986, section 3.3: pchar, and "/").
bool mayStand(char c) {
  constexpr std::string_view marks = "-._~!$&'()*+,;=:@/";
  return isLetter(c) || isDigit(c) || marks.find(c) != std::string_view::npos;
}

void appendEscaped(std::string& out, char c) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  out += '%';
  out += digits[byte >> 4];
  out += digits[byte & 15];
}

/// Copies path, query and fragment, escaping what may not stand there.
void appendRepaired(std::string& out, std::string_view text) {
  bool inFragment = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool isEscape = c == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0;
    // The first "?" starts the query and may stand in query and fragment too.
    const bool startsFragment = c == '#' && !inFragment;
    if (mayStand(c) || c == '?' || isEscape || startsFragment) {
      out += c;
    } else {
      appendEscaped(out, c);
    }
    inFragment = inFragment || startsFragment;
  }
}

}  // namespace

std::string md::urlPatch(const std::string& url) {
  const std::string_view text = stripped(url);
  const size_t scheme = schemeLength(text);
  if (scheme == 0) {
    return url;
  }
  const size_t authorityStart = scheme + schemeEnd.size();
  const size_t authorityEnd = std::min(text.find_first_of("/?#", authorityStart), text.size());
  std::string repaired;
  repaired.reserve(text.size());
  repaired += lowerCased(text.substr(0, scheme));
  repaired += schemeEnd;
  appendAuthority(repaired, text.substr(authorityStart, authorityEnd - authorityStart));
  appendRepaired(repaired, text.substr(authorityEnd));
  return repaired;
}
