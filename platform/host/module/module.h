#pragma once

/// @file
/// Parts of the host platform that most items do not need come in with the first item that does: they lie in shared
/// libraries of their own, so that a program which looks at a local file does not wait for the dozens of libraries
/// that the network takes. A static host platform has no such parts; it contains them.

namespace md::host {

/// The function `name` of the shared library `file`, which stays loaded from the first call on; asking again is cheap.
/// @return null when the library cannot be loaded; it is tried again by the next call
void* moduleFunction(const char* file, const char* name);

}  // namespace md::host
