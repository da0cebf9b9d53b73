#pragma once

/// @file
/// File-system abstraction: media (mounted volumes) known by their UUID.
///
/// A path is relative to its medium and can never leave it: "..", absolute paths and symbolic links that point
/// outside are refused. All functions may be called from any thread.

#include "md/export.h"

/// Finds a medium: first among those registered, then among the mounted file systems.
/// @param uuid NUL-terminated; upper and lower case alike
/// @return a media id of 0 or more, good for the life of the process; negative when there is none
MD_API int vdir2MediaIDGetByUUID(const char* uuid);

/// Opens a directory.
/// @param mediaId from `vdir2MediaIDGetByUUID` or `vdir2MediaRegister`
/// @param path relative to the medium, without a leading "/"; empty for its root
/// @param mode has no meaning on the host
/// @return a handle of 0 or more to be closed by `vdir2DirClose`; negative when `path` is no directory or cannot be
///   opened, and while 256 handles are open
MD_API int vdir2DirOpen(int mediaId, const char* path, int mode);

/// Closes a directory.
/// @param handle of `vdir2DirOpen`
/// @param mode has no meaning on the host
/// @return 0, or a negative number when the handle is not open
MD_API int vdir2DirClose(int handle, int mode);

/// Registers a directory as a medium, replacing an earlier registration.
/// @param uuid NUL-terminated; upper and lower case alike
/// @param directory NUL-terminated; absolute, or relative to the working directory of now
/// @return the media id, or a negative number when `uuid` is empty or `directory` is no directory
MD_API int vdir2MediaRegister(const char* uuid, const char* directory);
