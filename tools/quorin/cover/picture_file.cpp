#include "cover/picture_file.h"

#include <algorithm>

#include "item/item.h"
#include "output/credentials.h"

namespace quorin_command {

namespace {

bool beginsWith(std::string_view text, std::string_view begin) { return text.substr(0, begin.size()) == begin; }

/// The last part of the path of a URL; empty when it has none.
std::string lastOfPath(const std::string& url) {
  const size_t mark = url.find("//");
  const size_t path = url.find('/', mark == std::string::npos ? 0 : mark + 2);
  return path == std::string::npos ? std::string() : url.substr(url.find_last_of('/') + 1);
}

}  // namespace

PictureType pictureType(std::string_view begin) {
  if (beginsWith(begin, "\xff\xd8\xff")) {
    return {".jpg", "jpeg"};
  }
  if (beginsWith(begin, "\x89PNG\r\n\x1a\n")) {
    return {".png", "png"};
  }
  const bool isGif = beginsWith(begin, "GIF87a") || beginsWith(begin, "GIF89a");
  return isGif ? PictureType{".gif", "gif"} : PictureType{".bin", "other"};
}

std::string pictureName(const std::string& uri) {
  std::string name = uri;
  if (isHttp(schemeOf(uri))) {
    name = credentialsHidden(uri);
    name = unescaped(lastOfPath(name.substr(0, name.find_first_of("?#"))));
    const auto mayNotStand = [](char c) { return c == '/' || static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
    std::replace_if(name.begin(), name.end(), mayNotStand, '_');
  } else {
    name = name.substr(name.find_last_of('/') + 1);
  }
  name.erase(std::remove(name.begin(), name.end(), '\0'), name.end());
  const size_t ending = name.find_last_of('.');
  name = ending == 0 ? name : name.substr(0, ending);
  return name.empty() || name == "." || name == ".." ? "cover" : name;
}

}  // namespace quorin_command
