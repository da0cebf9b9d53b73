#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "quorin/info.h"

namespace zu::md::common::quorin {

/// An answer that tells nothing but a type.
boost::shared_ptr<Info> makeInfo(const std::string& mimeType);

/// An answer that points to one other item.
/// @param contentType of the response that redirected; empty when there was none
boost::shared_ptr<Info> makeRedirect(const std::string& mimeType, const std::string& contentType,
                                     const std::string& url);

}  // namespace zu::md::common::quorin
