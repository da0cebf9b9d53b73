#pragma once

#include <string>
#include <string_view>

namespace quorin_command {

/// The scheme of a URI (RFC 3986, section 3.1) as it stands there; empty for what cannot be a URI.
std::string_view schemeOf(std::string_view text);

/// The text with the letters A to Z in lower case, whatever the locale.
std::string lowered(std::string_view text);

/// The text with its percent escapes decoded (RFC 3986, section 2.1). A "%" that starts none is kept.
std::string unescaped(std::string_view text);

/// Whether a scheme is http or https, in any case.
bool isHttp(std::string_view scheme);

/// Whether something of this name is there, be it a link that leads nowhere.
bool isFile(const std::string& name);

/// The URI of an item that a user named. What has a scheme stays as it is, unless it has no "://" and a file of that
/// very name exists ("Live: 1999.mp3"). Everything else is a path, and is made absolute.
std::string uriOf(const std::string& name);

/// The path of an item that a user named, be it by a file: URI, as the URL layer opens it; empty for what has none.
std::string localPath(const std::string& name);

}  // namespace quorin_command
