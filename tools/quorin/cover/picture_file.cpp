#include "cover/picture_file.h"

#include <algorithm>

#include "item/item.h"

namespace quorin_command {

namespace {

bool beginsWith(std::string_view text, std::string_view begin) { return text.substr(0, begin.size()) == begin; }

int hexDigit(char c) {
  const std::string_view digits = "0123456789abcdef";
  const size_t value = digits.find(lowered({&c, 1}));
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

/// RFC 3986, section 2.1.
std::string unescaped(std::string_view text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool isEscape =
        text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 && hexDigit(text[i + 2]) >= 0;
    plain += isEscape ? static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2])) : text[i];
    i += isEscape ? 2 : 0;
  }
  return plain;
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
