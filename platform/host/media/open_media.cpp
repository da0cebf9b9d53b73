#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

#include "file/file_source.h"
#include "media/media_table.h"
#include "media/open_beneath.h"
#include "text/ascii.h"
#include "url/openers.h"

namespace md::host {

namespace {

constexpr std::string_view prefix = "vdr2://";

/// Takes "vdr2://UUID/path" apart. The path is not decoded: whoever made the URI wrote the file's name as it is.
bool parseMediaUri(const std::string& uri, std::string& uuid, std::string& path) {
  const size_t slash = uri.find('/', prefix.size());
  if (!startsWithIgnoringCase(uri, prefix) || slash == std::string::npos || slash == prefix.size()) {
    return false;
  }
  uuid = uri.substr(prefix.size(), slash - prefix.size());
  path = uri.substr(slash + 1);
  return true;
}

}  // namespace

int openMedia(const std::string& uri, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url) {
  std::string uuid;
  std::string path;
  TimeLimits limits;
  if (!parseMediaUri(uri, uuid, path) || !parseTimeLimits(params.text4, limits)) {
    return OPEN_BAD_URI;
  }
  MediaTable& media = MediaTable::instance();
  const int id = media.find(uuid);
  if (id < 0) {
    return OPEN_NOT_FOUND;
  }
  const UniqueFd top = media.openTop(id);
  UniqueFd file(top ? openBeneath(top.get(), path, itemOpenFlags) : -1);
  return file ? makeFileSource(std::move(file), limits, url) : openCodeOf(errno);
}

}  // namespace md::host
