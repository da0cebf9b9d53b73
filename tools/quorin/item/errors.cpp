#include "item/errors.h"

#include <fmt/format.h>

#include <cerrno>

#include "item/item.h"
#include "output/talk.h"

namespace quorin_command {

namespace {

/// Status codes of the library that need no code of the URL layer; quorin/analyzer.h tells what they mean.
enum LibraryStatus : int { NO_MEMORY = -291, EMPTY_URI = -292, REDIRECT_WITHOUT_TARGET = -293 };

/// What a cause is called where the item is not simply a file of this machine.
struct OpenCause {
  int code;
  const char* name;
  const char* local;
  const char* http;
};

constexpr OpenCause openCauses[] = {
    {2, "not_found", "no such file or directory", "the server has no such item (HTTP 404 or 410)"},
    {11, "busy", "busy, try again later", "the server is busy, try again later (HTTP 429 or 503)"},
    {13, "permission_denied", "permission denied", "the server denies access (HTTP 401 or 403)"},
    {22, "bad_uri", "not something that can be opened", "not a usable URI"},
    {150, "no_such_host", "no such host", "no such host"},
    {151, "connection_refused", "connection refused", "connection refused, or the host cannot be reached"},
    {152, "tls_failed", "TLS failed", "no secure connection: the certificate is not trusted, or TLS failed"},
    {153, "http_client_error", "request refused", "the server refuses the request (HTTP 4xx), or does not speak HTTP"},
    {155, "http_server_error", "the server failed", "the server failed (HTTP 5xx)"},
    {156, "timed_out", "timed out", "timed out"},
};

ItemError ofOpenCode(std::string_view uri, int code) {
  const std::string_view scheme = schemeOf(uri);
  if (code == 93) {
    return {"no_opener", fmt::format("nothing here opens \"{}:\"", scheme)};
  }
  for (const OpenCause& cause : openCauses) {
    if (cause.code == code) {
      return {cause.name, isHttp(scheme) ? cause.http : cause.local};
    }
  }
  return {"io_error", fmt::format("cannot be opened (code {})", code)};
}

/// A list from elsewhere may have line ends of two bytes, of which the first stays with the name.
ItemError withHint(std::string_view uri, ItemError error) {
  if (!uri.empty() && uri.back() == '\r') {
    error.message += "; the name ends with a carriage return (a list with CRLF line ends?)";
  }
  return error;
}

}  // namespace

ItemError openError(std::string_view uri, int status, int openCode) {
  switch (status) {
    case NO_MEMORY:
      return internalError("out of memory");
    case EMPTY_URI:
      return {"empty_uri", "an empty name"};
    case REDIRECT_WITHOUT_TARGET:
      return {"redirect_without_location", "the server redirects, but names no target that can be used"};
    default:
      return openCode != 0 ? withHint(uri, ofOpenCode(uri, openCode)) : internalError(fmt::format("status {}", status));
  }
}

ItemError readError(int failure) {
  switch (failure) {  // the host's own codes; md/url.h lists them
    case -110:
      return {"timed_out", "timed out while it was read"};
    case -104:
      return {"io_error", "the connection ended before the item did"};
    case -116:
      return {"io_error", "the item changed while it was read"};
    default:
      return {"io_error", fmt::format("reading failed (code {})", failure)};
  }
}

ItemError redirectLoop() { return {"redirect_loop", "the redirects go round in a circle"}; }

ItemError tooManyRedirects(unsigned int followed) {
  return {"too_many_redirects", fmt::format("still a redirect after {} (--follow takes a higher number)",
                                            followed == 1 ? std::string("one") : std::to_string(followed))};
}

ItemError localTarget() {
  return {"local_target", "the network redirects to something local, which takes --allow-local"};
}

ItemError noPicture() { return {"no_picture", "no embedded picture"}; }

ItemError severalPictures() { return {"several_pictures", "several embedded pictures do not go to standard output"}; }

ItemError nameIsTaken(const std::string& path) {
  return {"file_exists", fmt::format("{} is already another item's picture", path)};
}

ItemError cannotWrite(const std::string& path, int error) {
  const std::string file = path == "-" ? "standard output" : path;
  if (error == EEXIST) {
    return {"file_exists", fmt::format("{} is there already (--force replaces it)", file)};
  }
  switch (error) {
    case EINPROGRESS:
      return {"cannot_write", fmt::format("{} takes other output, and stays as it is ('-' is standard output)", file)};
    case ENXIO:
      return {"cannot_write", fmt::format("{} is not a regular file ('-' is standard output)", file)};
    case ETXTBSY:
      return {"cannot_write", fmt::format("{} is what is being read, and stays as it is", file)};
    default:
      return {"cannot_write", fmt::format("{}: {}", file, reasonOf(error))};
  }
}

ItemError notRecognised() { return {"not_recognised", "not recognised"}; }

ItemError emptyItem() { return {"empty", "empty"}; }

ItemError nulInName() { return {"bad_uri", "the name holds a NUL byte (a NUL-separated list takes -0)"}; }

ItemError nameTooLong(size_t longest) { return {"bad_uri", fmt::format("the name has more than {} bytes", longest)}; }

ItemError notAFile() { return {"not_a_file", "a pipe, a socket or a device, not a file"}; }

ItemError unreadable(int error) { return {error == EACCES ? "permission_denied" : "io_error", reasonOf(error)}; }

ItemError internalError(const std::string& what) { return {"internal", "internal error: " + what}; }

}  // namespace quorin_command
