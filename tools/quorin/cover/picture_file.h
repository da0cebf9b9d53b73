#pragma once

#include <string>
#include <string_view>

namespace quorin_command {

struct PictureType {
  const char* ending;  ///< of the name of a file
  const char* name;    ///< in records
};

/// What a picture is by its first bytes, of which eight tell: JPEG, PNG, GIF, or something else. What a tag says of the
/// type is often wrong.
PictureType pictureType(std::string_view begin);

/// What the picture files of an item are called, without ending: the last part of its path without its own ending. That
/// of a URL is decoded; user, password and host of one are never part of it.
std::string pictureName(const std::string& uri);

}  // namespace quorin_command
