#include "item/redirect_target.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "item/item.h"
#include "item/url_api.h"
#include "md/url.h"

namespace quorin_command {

namespace {

struct DestroyUrl {
  void operator()(CURLU* url) const { UrlApi::instance().destroy(url); }
};

using Url = std::unique_ptr<CURLU, DestroyUrl>;

bool setAll(const Url& url, const std::string& text) {
  return UrlApi::instance().set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK;
}

/// The parts of an absolute URI; empty when it has none.
Url parsed(const std::string& uri) {
  Url url(UrlApi::instance().create());
  return url && setAll(url, uri) ? std::move(url) : Url();
}

/// A part as text, a port also when it is but implied; empty when the URI does not have it.
std::string partOf(const Url& url, CURLUPart part) {
  char* text = nullptr;
  const unsigned int flags = part == CURLUPART_PORT ? CURLU_DEFAULT_PORT : 0;
  const bool found = UrlApi::instance().get(url.get(), part, &text, flags) == CURLUE_OK;
  const std::unique_ptr<char, decltype(&curl_free)> owner(text, UrlApi::instance().freeText);
  return found ? std::string(text) : std::string();
}

/// Scheme, host and port.
std::string originOf(const std::string& uri) {
  const Url url = parsed(uri);
  return url ? fmt::format("{}://{}:{}", lowered(partOf(url, CURLUPART_SCHEME)), lowered(partOf(url, CURLUPART_HOST)),
                           partOf(url, CURLUPART_PORT))
             : std::string();
}

/// A relative reference with everything escaped that may not stand in one.
std::string escaped(const std::string& reference) {
  const std::string before = "http://host/";
  return reference.empty() ? reference : md::urlPatch(before + reference).substr(before.size());
}

}  // namespace

std::string resolved(const std::string& base, const std::string& target) {
  const std::string reference = escaped(target.substr(0, target.find('#')));
  if (reference.empty() || !schemeOf(target).empty()) {
    return reference.empty() ? base : target;
  }
  const std::string_view scheme = schemeOf(base);
  const Url url = parsed(base);
  if (!url || !setAll(url, reference)) {
    // Whatever it means, it is no path of this machine when a server says it.
    return scheme.empty() ? target : fmt::format("{}:{}", scheme, reference);
  }
  // Repaired at once, or the analysis would answer with one more redirect.
  return md::urlPatch(partOf(url, CURLUPART_URL));
}

bool isLocal(std::string_view uri) {
  const std::string scheme = lowered(schemeOf(uri));
  return scheme.empty() || scheme == "file" || scheme == "vdr2";
}

std::string hostOf(const std::string& uri) {
  const Url url = isLocal(uri) ? Url() : parsed(uri);
  return url ? lowered(partOf(url, CURLUPART_HOST)) : std::string();
}

bool haveSameOrigin(const std::string& one, const std::string& other) {
  const std::string origin = originOf(one);
  return !origin.empty() && origin == originOf(other);
}

std::string withoutCredentials(std::string_view headerLines) {
  std::string kept;
  while (!headerLines.empty()) {
    const std::string_view line = headerLines.substr(0, headerLines.find('\n'));
    headerLines.remove_prefix(std::min(line.size() + 1, headerLines.size()));
    const std::string name = lowered(line.substr(0, line.find(':')));
    if (name != "authorization" && name != "proxy-authorization" && name != "cookie") {
      kept += fmt::format("{}{}", kept.empty() ? "" : "\n", line);
    }
  }
  return kept;
}

}  // namespace quorin_command
