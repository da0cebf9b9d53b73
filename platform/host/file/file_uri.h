#pragma once

#include <string>

namespace md::host {

/// Finds the path that a text names: the text itself, or the decoded path of a file: URI (RFC 8089).
///
/// "file:/p", "file:///p" and "file://localhost/p" are the path "/p"; "file:p" is the relative path "p". The scheme and
/// "localhost" may be written in upper case. A "%" that starts no escape is kept, because playlists carry paths nobody
/// escaped; for the same reason "?" and "#" are part of the path (the scheme has no query, and an item has no
/// fragments).
///
/// @param text a path or a file: URI
/// @param path receives the path; untouched on failure
/// @return false when there is no path: it is empty, on another host, or holds a NUL byte
bool pathOfFileUri(const std::string& text, std::string& path);

}  // namespace md::host
