#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "md/url.h"
#include "text/ascii.h"
#include "url/openers.h"

namespace {

/// The scheme in lower case (RFC 3986, section 3.1); empty for a path.
std::string schemeOf(const std::string& uri) {
  const auto belongs = [](char c) {
    return md::host::isLetter(c) || md::host::isDigit(c) || c == '+' || c == '-' || c == '.';
  };
  const auto end = std::find_if_not(uri.begin(), uri.end(), belongs);
  if (end == uri.begin() || end == uri.end() || *end != ':' || !md::host::isLetter(uri.front())) {
    return std::string();
  }
  return md::host::lowerCased(std::string(uri.begin(), end));
}

class Registry {
 public:
  static Registry& instance() {
    static Registry& registry = *new Registry;  // openers may be asked while statics are destroyed
    return registry;
  }

  void set(const std::string& scheme, md::UrlOpener opener) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto own = openers_.try_emplace(scheme).first;
    own->second.swap(opener);  // the previous one is destroyed with the argument, unlocked: it may register schemes
    if (!own->second) {
      openers_.erase(own);
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
  std::map<std::string, md::UrlOpener> openers_;  ///< by scheme in lower case
};

}  // namespace

int mdch_OpenUrl(const char* uri, int, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url) {
  const std::string text(uri);
  const md::UrlOpener opener = Registry::instance().find(schemeOf(text));
  return opener ? opener(text, params, url) : static_cast<int>(md::host::OPEN_NO_OPENER);
}

void md::registerUrlScheme(const std::string& scheme, UrlOpener opener) {
  Registry::instance().set(md::host::lowerCased(scheme), std::move(opener));
}

md::UrlOpener md::urlOpener(const std::string& scheme) { return Registry::instance().find(host::lowerCased(scheme)); }
