#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "md/url.h"

/// @file
/// Where the host platform enters its modules.

/// md::host::openHttp
extern "C" MD_API int mdHostOpenHttp(const std::string& uri, const MdchOpenParams& params,
                                     boost::shared_ptr<MdchUrlBase>& url);

/// md::host::mountPointOf
extern "C" MD_API void mdHostMountPointOf(const std::string& uuid, std::string& mountPoint);
