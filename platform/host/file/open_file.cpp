#include <cerrno>

#include "file/file_source.h"
#include "file/file_uri.h"
#include "url/openers.h"

int md::host::openFile(const std::string& uri, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url) {
  std::string path;
  TimeLimits limits;
  if (!pathOfFileUri(uri, path) || !parseTimeLimits(params.text4, limits)) {
    return OPEN_BAD_URI;
  }
  UniqueFd file(::open(path.c_str(), itemOpenFlags));
  return file ? makeFileSource(std::move(file), limits, url) : openCodeOf(errno);
}
