#include "module/entries.h"
#include "module/module.h"
#include "url/openers.h"

namespace md::host {

int openHttp(const std::string& uri, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url) {
  const auto entry = reinterpret_cast<decltype(&mdHostOpenHttp)>(moduleFunction(QUORIN_MODULE, "mdHostOpenHttp"));
  return entry == nullptr ? static_cast<int>(OPEN_NO_OPENER) : entry(uri, params, url);
}

}  // namespace md::host
