#include "md/url.h"

#include <boost/make_shared.hpp>
#include <list>
#include <mutex>
#include <utility>

#include "items.h"
#include "memory_source.h"

namespace {

enum Code { OPENED = 0, NOT_FOUND = 2, NO_OPENER = 93 };

struct Registration {
  std::string scheme;
  md::UrlOpener opener;
};

std::mutex guard;
std::list<Registration> registrations;  ///< the latest of a scheme first

std::string schemeIn(const std::string& uri) {
  const size_t colon = uri.find(':');
  const std::string allowed = "abcdefghijklmnopqrstuvwxyz0123456789+-.";
  const std::string scheme = memory_platform::lowered(uri.substr(0, colon));
  const bool isScheme = colon != std::string::npos && scheme.find_first_not_of(allowed) == std::string::npos &&
                        scheme.find_first_of("abcdefghijklmnopqrstuvwxyz") == 0;
  return isScheme ? scheme : std::string();
}

int openStored(const std::string& key, boost::shared_ptr<MdchUrlBase>& url) {
  const auto bytes = memory_platform::find(key);
  if (!bytes) {
    return NOT_FOUND;
  }
  url = boost::make_shared<memory_platform::MemorySource>(bytes);
  return OPENED;
}

int openPath(const std::string& uri, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
  return openStored(uri, url);
}

int openOnMedium(const std::string& uri, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
  const size_t begin = std::string("vdr2://").size();
  return openStored(uri.size() < begin ? std::string() : memory_platform::pathOnMedium(uri.substr(begin)), url);
}

}  // namespace

md::UrlOpener md::urlOpener(const std::string& scheme) {
  const std::string wanted = memory_platform::lowered(scheme);
  {
    const std::lock_guard<std::mutex> lock(guard);
    for (const Registration& registration : registrations) {
      if (registration.scheme == wanted) {
        return registration.opener;
      }
    }
  }
  if (wanted == "vdr2") {
    return openOnMedium;
  }
  return wanted.empty() || wanted == "memory" ? UrlOpener(openPath) : UrlOpener();
}

void md::registerUrlScheme(const std::string& scheme, UrlOpener opener) {
  const std::string wanted = memory_platform::lowered(scheme);
  std::list<Registration> replaced;  // destroyed without the lock: what an opener holds may register schemes
  const std::lock_guard<std::mutex> lock(guard);
  for (auto each = registrations.begin(); each != registrations.end();) {
    const auto next = std::next(each);
    if (each->scheme == wanted) {
      replaced.splice(replaced.end(), registrations, each);
    }
    each = next;
  }
  if (opener) {
    registrations.push_front({wanted, std::move(opener)});
  }
}

int mdch_OpenUrl(const char* uri, int, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url) {
  const std::string text(uri);
  const md::UrlOpener opener = md::urlOpener(schemeIn(text));
  return opener ? opener(text, params, url) : static_cast<int>(NO_OPENER);
}
