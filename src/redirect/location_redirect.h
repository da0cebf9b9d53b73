#pragma once

#include <boost/shared_ptr.hpp>

#include "md/url.h"
#include "quorin/analyze_result.h"

namespace zu::md::common::quorin {

/// Turns the answer of a server that redirected into a redirect to the location that it names, a relative one
/// included. `result` stays without an answer when it names none.
/// @param url the source that the URL layer handed out with the redirect; may be empty
void checkHttpLocationRedirect(boost::shared_ptr<MdchUrlBase> const& url, AnalyzeResult& result);

}  // namespace zu::md::common::quorin
