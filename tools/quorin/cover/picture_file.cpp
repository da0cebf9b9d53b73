#include "cover/picture_file.h"

#include <algorithm>

#include "item/item.h"

namespace quorin_command {

namespace {

bool beginsWith(std::string_view text, std::string_view begin) { return text.substr(0, begin.size()) == begin; }

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
    name = name.substr(0, name.find_first_of("?#"));
    name = unescaped(name.substr(name.find_last_of('/') + 1));
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
