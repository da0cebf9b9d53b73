#include "redirect/redirect_info.h"

#include <boost/make_shared.hpp>

namespace zu::md::common::quorin {

boost::shared_ptr<Info> makeInfo(const std::string& mimeType) {
  auto info = boost::make_shared<Info>();
  info->mimeType = mimeType;
  return info;
}

boost::shared_ptr<Info> makeRedirect(const std::string& mimeType, const std::string& contentType,
                                     const std::string& url) {
  const auto redirect = boost::make_shared<RedirectInfo>();
  redirect->mimeType = mimeType;
  redirect->contentType = contentType;
  redirect->urls.push_back(url);
  return redirect;
}

}  // namespace zu::md::common::quorin
