#include "redirect/well_formed.h"

#include <string>

#include "framework/ascii_case.h"
#include "framework/log.h"
#include "md/url.h"
#include "quorin/mime_types.h"
#include "redirect/redirect_info.h"

namespace zu::md::common::quorin {

void checkWellFormed(strell::OpenParams const& params, AnalyzeResult& result) {
  // kept: the second test changes nothing, and neither asks for "://"; what is no URL comes back as it is anyway
  if (!startsWithIgnoringCase(params.uri, "http") && !startsWithIgnoringCase(params.uri, "https")) {
    return;
  }
  const std::string patched = ::md::urlPatch(params.uri);
  if (patched == params.uri) {
    return;
  }
  QUORIN_LOG(Info, "Analyzer::Impl::%s() redirect well formed url '%s'\n", __func__, patched.c_str());
  result.info = makeRedirect(MimeTypes::ApplicationRedirect, std::string(), patched);
}

}  // namespace zu::md::common::quorin
