#include "module/entries.h"
#include "url/openers.h"

int mdHostOpenHttp(const std::string& uri, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url) {
  return md::host::openHttp(uri, params, url);
}
