#pragma once

#include <string>

namespace md::host {

/// Finds where the file system with this UUID is mounted.
/// @param uuid upper and lower case alike; anything but hexadecimal digits and "-" names no file system
/// @return an absolute path; empty when it is not mounted, or not to be found out (only root may look into devices)
std::string mountPointOf(const std::string& uuid);

}  // namespace md::host
