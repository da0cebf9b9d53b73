#include "redirect/content_redirect.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "framework/ascii_case.h"
#include "framework/log.h"
#include "framework/status.h"
#include "md/url.h"
#include "quorin/mime_types.h"
#include "redirect/playlist_parsers.h"
#include "redirect/playlist_strings.h"
#include "redirect/redirect_info.h"

namespace zu::md::common::quorin {

namespace {

const char* const name = "checkContentRedirect";

/// Where a playlist points.
struct Target {
  std::string url;
  bool isAsf;  ///< the target is a stream to be played by ASF over MMS
};

bool isAsfType(const std::string& contentType) {
  using namespace playlist_types;
  return startsWithIgnoringCase(contentType, audioWax) || startsWithIgnoringCase(contentType, audioAsf) ||
         startsWithIgnoringCase(contentType, videoWvx) || startsWithIgnoringCase(contentType, videoAsf);
}

bool isPlaylistType(const std::string& contentType) {
  using namespace playlist_types;
  return isAsfType(contentType) || startsWithIgnoringCase(contentType, audioMpegUrl) ||
         startsWithIgnoringCase(contentType, audioXMpegUrl);
}

std::optional<Target> findTarget(const std::string& contentType, const std::string& content) {
  Target target = {std::string(), false};
  // kept: has no effect as long as plain text is no playlist type, and has to come first if it ever becomes one
  if (startsWithIgnoringCase(contentType, playlist_types::textPlain) && parseM3U(content, target.url)) {
    QUORIN_LOG(Info, "%s() m3u redirect to %s\n", name, target.url.c_str());
    return target;
  }
  if (parseASX(content, target.url, target.isAsf)) {
    QUORIN_LOG(Info, "%s() ASX redirect to %s\n", name, target.url.c_str());
    return target;
  }
  if (parseSIMPLE(content, target.url)) {
    QUORIN_LOG(Info, "%s() SIMPLE redirect to %s\n", name, target.url.c_str());
    target.isAsf = isAsfType(contentType);
    return target;
  }
  if (parseM3U(content, target.url)) {
    QUORIN_LOG(Info, "%s() m3u redirect (2) to %s\n", name, target.url.c_str());
    return target;
  }
  QUORIN_LOG(Error, "%s() can not parse content:\n%s\n", name, content.c_str());
  return std::nullopt;
}

void replaceFirst(std::string& text, const std::string& what, const std::string& by) {
  if (const auto found = text.find(what); found != std::string::npos) {
    text.replace(found, what.size(), by);
  }
}

boost::shared_ptr<Info> redirectTo(Target target, const std::string& contentType) {
  if (target.isAsf) {
    // kept: found anywhere in the target, and in lower case only; players are used to the targets that come of it
    replaceFirst(target.url, url_prefixes::http, url_prefixes::mmsh);
  }
  const std::string& mimeType = target.isAsf ? MimeTypes::ApplicationRedirectAsf : MimeTypes::ApplicationRedirect;
  const std::string url = ::md::urlPatch(target.url);
  QUORIN_LOG(Info, "Analyzer::Impl::%s() asx m3u redirect  '%s' '%s'\n", name, url.c_str(), mimeType.c_str());
  return makeRedirect(mimeType, contentType, url);
}

}  // namespace

int checkContentRedirect(HeaderInfo const& header, boost::shared_ptr<strell::Strell> const& strell,
                         AnalyzeResult& result) {
  if (!strell) {
    QUORIN_LOG(Error, "Analyzer::Impl::%s() need strell.\n", name);
    return STATUS_NO_ARGUMENT;
  }
  if (!isPlaylistType(header.contentType)) {
    QUORIN_LOG(Info, "Analyzer::Impl::%s() no redirect interesting contentType.\n", name);
    return STATUS_OK;
  }
  QUORIN_LOG(Info, "Analyzer::Impl::%s() analyze contentType.\n", name);
  std::array<unsigned char, Info::MaximumHttpHeaderSize> buffer;
  unsigned int bytesRead = 0;
  std::vector<strell::IcyData> icy;
  const int status = strell->readData(buffer.data(), buffer.size(), bytesRead, icy);
  if (bytesRead == 0) {
    return STATUS_OK;
  }
  const std::string content(buffer.begin(), buffer.begin() + bytesRead);
  if (auto target = findTarget(header.contentType, content)) {
    result.info = redirectTo(*std::move(target), header.contentType);
  }
  return status;
}

}  // namespace zu::md::common::quorin
