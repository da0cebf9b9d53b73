#include <algorithm>
#include <map>
#include <mutex>
#include <string>

#include "md/url.h"
#include "url/openers.h"

namespace {

/// The scheme in lower case (RFC 3986, section 3.1); empty for a path.
std::string schemeOf(const std::string& uri) {
  const auto isAlpha = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  const auto belongs = [&](char c) { return isAlpha(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.'; };
  const auto end = std::find_if_not(uri.begin(), uri.end(), belongs);
  if (end == uri.begin() || end == uri.end() || *end != ':' || !isAlpha(uri.front())) {
    return std::string();
  }
  return std::string(uri.begin(), end);
}

std::string lowerCased(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

class Registry {
 public:
  static Registry& instance() {
    static Registry& registry = *new Registry;  // openers may be asked while statics are destroyed
    return registry;
  }

  void set(const std::string& scheme, md::UrlOpener opener) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (opener) {
      openers_[scheme] = std::move(opener);
    } else {
      openers_.erase(scheme);
    }
  }

  /// A copy, so that an opener runs without the lock and may register schemes itself.
  md::UrlOpener find(const std::string& scheme) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto own = openers_.find(scheme);
    return own == openers_.end() ? builtIn(scheme) : own->second;
  }

 private:
  static md::UrlOpener builtIn(const std::string& scheme) {
    if (scheme.empty() || scheme == "file") {
      return md::host::openFile;
    }
    if (scheme == "vdr2") {
      return md::host::openMedia;
    }
    if (scheme == "http" || scheme == "https") {
      return md::host::openHttp;
    }
    return md::UrlOpener();
  }

  std::mutex mutex_;
  std::map<std::string, md::UrlOpener> openers_;
};

}  // namespace

int mdch_OpenUrl(const char* uri, int, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url) {
  const std::string text(uri);
  const md::UrlOpener opener = Registry::instance().find(lowerCased(schemeOf(text)));
  return opener ? opener(text, params, url) : static_cast<int>(md::host::OPEN_NO_OPENER);
}

void md::registerUrlScheme(const std::string& scheme, UrlOpener opener) {
  Registry::instance().set(lowerCased(scheme), std::move(opener));
}
