#include "output/credentials.h"

#include <algorithm>

#include "item/item.h"

namespace quorin_command {

namespace {

constexpr std::string_view slashes = "/\\";
constexpr auto nowhere = std::string_view::npos;

bool isOneOf(std::string_view characters, char c) { return characters.find(c) != nowhere; }

bool endsWithHttp(std::string_view text) {
  const auto endsWith = [&text](std::string_view end) {
    return text.size() >= end.size() && lowered(text.substr(text.size() - end.size())) == end;
  };
  return endsWith("http:") || endsWith("https:");
}

/// Where the authority begins that the slashes at `at` announce; `nowhere` when they are but part of a path.
size_t authorityBehind(std::string_view text, size_t at) {
  const std::string_view before = text.substr(0, at);
  if (endsWithHttp(before)) {
    return std::min(text.find_first_not_of(slashes, at), text.size());
  }
  const bool mayBegin = before.empty() || isOneOf(":\"'`=(<[{,;| \t\r\n", before.back());
  return mayBegin && text.substr(at, 2) == "//" ? at + 2 : nowhere;
}

/// Whether what stands in front of the first "/", "?" or "#" is a name and the begin of a password, because what
/// follows its colon can be no port.
bool isCutPassword(std::string_view authority) {
  const size_t colon = authority.find(':');
  if (colon == nowhere || authority.front() == '[') {  // an address holds colons
    return false;
  }
  const size_t end = authority.find_first_not_of("0123456789", colon + 1);
  return end != nowhere && !isOneOf(" \t\r\n\"'`)>]},;|", authority[end]);
}

/// Finds the "@" that ends the user information of an authority. Authorities are to be asked for from left to right:
/// many may seem to begin in front of the same "/", and that stretch is searched once.
class Finder {
 public:
  explicit Finder(std::string_view text) : text_(text), last_(text.rfind('@')) {}

  /// Where the last "@" of all is.
  size_t last() const { return last_; }

  /// Where the user information of the authority at `begin` ends; `nowhere` without any.
  size_t endOfCredentials(size_t begin) {
    if (begin >= end_) {
      end_ = std::min(text_.find_first_of("/?#", begin), text_.size());
      at_ = begin + text_.substr(begin, end_ - begin).rfind('@') + 1;
    }
    if (at_ > begin) {
      return at_ - 1;
    }
    return isCutPassword(text_.substr(begin, end_ - begin)) ? last_ : nowhere;
  }

 private:
  const std::string_view text_;
  const size_t last_;
  size_t end_ = 0;  ///< of the authority that was searched last
  size_t at_ = 0;   ///< behind its "@"; where it was searched from, when there is none
};

std::string hiddenOnce(std::string_view text) {
  Finder finder(text);
  std::string shown;
  size_t copied = 0;
  for (size_t at = text.find_first_of(slashes); at < finder.last();) {
    const size_t begin = authorityBehind(text, at);
    const size_t end = begin <= finder.last() ? finder.endOfCredentials(begin) : nowhere;
    if (end != nowhere) {
      shown.append(text, copied, begin - copied).append("***");
      copied = end;
    }
    at = text.find_first_of(slashes, end != nowhere ? end : begin != nowhere ? begin : at + 1);
  }
  return shown.append(text.substr(copied));
}

}  // namespace

std::string credentialsHidden(std::string_view text) {
  if (text.find('@') == nowhere) {
    return std::string(text);
  }
  const std::string shown = hiddenOnce(text);
  // With a cut password, the end of an authority in front of it may have gone, too.
  return shown == text ? shown : hiddenOnce(shown);
}

}  // namespace quorin_command
