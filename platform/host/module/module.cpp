#include "module/module.h"

#include <dlfcn.h>

namespace md::host {

void* moduleFunction(const char* file, const char* name) {
  // Never unloaded: sources that it opened may outlive everything else, and libcurl cannot be unloaded safely.
  void* const module = dlopen(file, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  return module == nullptr ? nullptr : dlsym(module, name);
}

}  // namespace md::host
