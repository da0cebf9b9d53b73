#include "item/url_api.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace quorin_command {

namespace {

/// The one that the host platform is linked with.
constexpr const char* library = QUORIN_LIBCURL;

template <typename Function>
void find(void* handle, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(handle, name));
  if (function == nullptr) {
    throw std::runtime_error(std::string(library) + " has no " + name);
  }
}

UrlApi load() {
  void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (handle == nullptr) {
    throw std::runtime_error(dlerror());
  }
  UrlApi api{};
  find(handle, "curl_url", api.create);
  find(handle, "curl_url_cleanup", api.destroy);
  find(handle, "curl_url_set", api.set);
  find(handle, "curl_url_get", api.get);
  find(handle, "curl_free", api.freeText);
  return api;
}

}  // namespace

const UrlApi& UrlApi::instance() {
  static const UrlApi api = load();
  return api;
}

}  // namespace quorin_command
