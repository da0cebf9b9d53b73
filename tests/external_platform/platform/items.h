#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

/// What this platform opens: bytes in memory, known by URI or path. A path with something beneath it is a directory.
namespace memory_platform {

/// Puts an item there, in place of an earlier one.
void put(const std::string& uri, const std::vector<unsigned char>& bytes);

/// Takes all items away; those that are open stay readable.
void clear();

/// @return null when there is no such item
boost::shared_ptr<const std::vector<unsigned char>> find(const std::string& uri);

/// Whether anything lies beneath this path.
bool isDirectory(const std::string& path);

/// The path of an item of a medium.
/// @param name "UUID/path"
/// @return empty when there is no such medium or the path would leave it
std::string pathOnMedium(const std::string& name);

/// Text in lower case, for ASCII.
std::string lowered(std::string text);

}  // namespace memory_platform
