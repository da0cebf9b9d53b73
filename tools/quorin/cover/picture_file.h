#pragma once

#include <string>
#include <string_view>

namespace quorin_command {

/// What the name of a picture file ends with, by the picture's first bytes: ".jpg", ".png" or ".gif", and ".bin" for
/// anything else. Eight bytes tell; what a tag says of the type is often wrong.
const char* pictureEnding(std::string_view begin);

/// What the picture files of an item are called, without ending: the last part of its path without its own ending.
std::string pictureName(const std::string& uri);

}  // namespace quorin_command
