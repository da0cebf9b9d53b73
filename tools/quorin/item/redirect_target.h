#pragma once

#include <string>
#include <string_view>

/// @file
/// Where a redirect leads: pure functions on URIs.

namespace quorin_command {

/// The URI that a redirect target means (RFC 3986, section 5). What has a scheme stays as it is; anything else is
/// relative to the item that named it. The fragment of a relative target is dropped: no server ever sees it.
/// @param base the item that named the target
std::string resolved(const std::string& base, const std::string& target);

/// Whether a URI leads to a file or a medium of this machine.
bool isLocal(std::string_view uri);

/// The host of a network URI, in lower case; empty for anything else.
std::string hostOf(const std::string& uri);

/// Whether two URIs lead to the same server by the same protocol (RFC 6454, section 5).
bool haveSameOrigin(const std::string& one, const std::string& other);

/// The header lines, separated by line ends, without those that tell a server who is asking: Authorization, Cookie and
/// Proxy-Authorization, which without a proxy goes to the server.
std::string withoutCredentials(std::string_view headerLines);

}  // namespace quorin_command
