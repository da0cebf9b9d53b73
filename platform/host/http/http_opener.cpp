#include <boost/make_shared.hpp>
#include <memory>
#include <optional>
#include <utility>

#include "http/http_options.h"
#include "http/http_source.h"
#include "http/http_transfer.h"
#include "url/openers.h"

namespace md::host {

namespace {

/// libcurl is lenient and would take "http:///x" for host "x"; an empty host is none (RFC 9110, section 4.2.1). It
/// would also not see what stands behind a NUL. The rest of the URL is checked by libcurl.
bool namesAHost(const std::string& uri) {
  constexpr std::string_view mark = "://";
  const size_t colon = uri.find(':');
  if (colon == std::string::npos || uri.compare(colon, mark.size(), mark) != 0 || uri.find('\0') != std::string::npos) {
    return false;
  }
  const size_t authority = colon + mark.size();
  return authority < uri.size() && std::string_view("/?#").find(uri[authority]) == std::string_view::npos;
}

/// Asks for the first bytes, or for the whole item when the server serves no ranges of it.
CURLcode requestStart(HttpTransfer& transfer) {
  const CURLcode result = transfer.request(ByteRange{0, firstRange - 1});
  return result == CURLE_OK && refusesRange(transfer.response()) ? transfer.request(std::nullopt) : result;
}

OpenCode codeOfFailure(CURLcode result, const HttpOptions& options) {
  switch (result) {
    case CURLE_URL_MALFORMAT:
      return OPEN_BAD_URI;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return OPEN_NO_SUCH_HOST;
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
      return OPEN_CONNECTION_REFUSED;
    case CURLE_SSL_CACERT_BADFILE:
      return options.caBundle.empty() ? OPEN_TLS_FAILED : OPEN_BAD_URI;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_CLIENTCERT:
      return OPEN_TLS_FAILED;
    case CURLE_OPERATION_TIMEDOUT:
      return OPEN_TIMED_OUT;
    default:  // something answered or hung up, but not in HTTP; a header beyond the limits among them
      return OPEN_HTTP_CLIENT_ERROR;
  }
}

OpenCode codeOfStatus(const HttpResponse& response) {
  switch (response.status) {
    case 206:
      return opensSeekable(response) ? OPEN_OK : OPEN_HTTP_CLIENT_ERROR;
    case 301:
    case 302:
    case 303:
    case 307:
    case 308:
      return OPEN_HTTP_REDIRECT;
    case 401:
    case 403:
      return OPEN_PERMISSION_DENIED;
    case 404:
    case 410:
      return OPEN_NOT_FOUND;
    case 429:
    case 503:
      return OPEN_BUSY;
    default:
      break;
  }
  if (response.status >= 200 && response.status < 300) {
    return OPEN_OK;
  }
  return response.status >= 500 && response.status < 600 ? OPEN_HTTP_SERVER_ERROR : OPEN_HTTP_CLIENT_ERROR;
}

}  // namespace

int openHttp(const std::string& uri, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url) {
  HttpOptions options;
  if (!namesAHost(uri) || !parseHttpOptions(params, options)) {
    return OPEN_BAD_URI;
  }
  auto transfer = std::make_unique<HttpTransfer>(uri, options);
  const CURLcode result = requestStart(*transfer);
  if (result != CURLE_OK) {
    return codeOfFailure(result, options);
  }
  const OpenCode code = codeOfStatus(transfer->response());
  if (code == OPEN_OK || code == OPEN_HTTP_REDIRECT) {
    url = boost::make_shared<HttpSource>(std::move(transfer));
  }
  return code;
}

}  // namespace md::host
