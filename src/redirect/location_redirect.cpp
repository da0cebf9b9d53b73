#include "redirect/location_redirect.h"

#include "framework/http_header.h"
#include "framework/log.h"
#include "framework/status.h"
#include "quorin/mime_types.h"
#include "redirect/redirect_info.h"

namespace zu::md::common::quorin {

void checkHttpLocationRedirect(boost::shared_ptr<MdchUrlBase> const& url, AnalyzeResult& result) {
  HeaderInfo header;
  if (const int status = parseHeader(url, header); status != STATUS_OK) {
    QUORIN_LOG(Error, "Analyzer::Impl::%s() parseHeader error=%i.\n", __func__, status);
  }
  if (header.location.empty()) {
    return;
  }
  QUORIN_LOG(Info, "Analyzer::Impl::%s() http location header redirect '%s'\n", __func__, header.location.c_str());
  result.info = makeRedirect(MimeTypes::ApplicationRedirect, header.contentType, ::md::urlPatch(header.location));
}

}  // namespace zu::md::common::quorin
