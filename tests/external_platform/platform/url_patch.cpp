#include <algorithm>
#include <cctype>
#include <cstring>

#include "items.h"
#include "md/url.h"

namespace {

/// Walks over a URL once; what may follow depends on where it is.
class Repair {
 public:
  explicit Repair(const std::string& text) : text_(text) {}

  std::string from(size_t authority) {
    repaired_ = memory_platform::lowered(text_.substr(0, authority));
    const size_t end = std::min(text_.find_first_of("/?#", authority), text_.size());
    takeAuthority(text_.substr(authority, end - authority));
    for (next_ = end; next_ < text_.size(); ++next_) {
      takeCharacter();
    }
    return repaired_;
  }

 private:
  void takeAuthority(const std::string& authority) {
    const size_t host = authority.rfind('@') + 1;  // 0 where there is no "@"
    const char* const hostEnds = host < authority.size() && authority[host] == '[' ? "]" : ":";
    const size_t hostEnd = std::min(authority.find_first_of(hostEnds, host), authority.size());
    repaired_ += authority.substr(0, host) + memory_platform::lowered(authority.substr(host, hostEnd - host)) +
                 authority.substr(hostEnd);
  }

  void takeCharacter() {
    const auto c = static_cast<unsigned char>(text_[next_]);
    const bool isPlain =
        c < 0x80 && (std::isalnum(c) != 0 || (c != 0 && std::strchr("-._~!$&'()*+,;=:@/?", c) != nullptr));
    const bool isFragment = c == '#' && !fragmentSeen_;
    if (isPlain || isFragment || (c == '%' && isDigitAt(1) && isDigitAt(2))) {
      repaired_ += text_[next_];
    } else {
      repaired_ += {'%', "0123456789ABCDEF"[c / 16], "0123456789ABCDEF"[c % 16]};
    }
    fragmentSeen_ = fragmentSeen_ || isFragment;
  }

  bool isDigitAt(size_t ahead) const {
    return next_ + ahead < text_.size() && std::isxdigit(static_cast<unsigned char>(text_[next_ + ahead])) != 0;
  }

  const std::string& text_;
  std::string repaired_;
  size_t next_ = 0;
  bool fragmentSeen_ = false;
};

}  // namespace

std::string md::urlPatch(const std::string& url) {
  const char* const blanks = " \t\r\n";
  const size_t first = url.find_first_not_of(blanks);
  if (first == std::string::npos) {
    return url;
  }
  const std::string text = url.substr(first, url.find_last_not_of(blanks) - first + 1);
  for (const char* const start : {"http://", "https://", "mms://", "mmsh://", "rtsp://", "rtp://"}) {
    const size_t length = std::strlen(start);
    if (memory_platform::lowered(text.substr(0, length)) == start) {
      return Repair(text).from(length);
    }
  }
  return url;
}
