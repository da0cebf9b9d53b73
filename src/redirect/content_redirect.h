#pragma once

#include <boost/shared_ptr.hpp>

#include "framework/http_header.h"
#include "quorin/analyze_result.h"
#include "strell/strell.h"

namespace zu::md::common::quorin {

/// Turns a source whose content type is that of a playlist into a redirect to the first stream that its first
/// `Info::MaximumHttpHeaderSize` bytes name. The body is read for that and not put back.
///
/// @param result receives a RedirectInfo, or nothing when the source is no playlist or names no stream
/// @return 0; STATUS_NO_ARGUMENT without `strell`; or the failure of reading, also when what came before it was enough
///   for a redirect
int checkContentRedirect(HeaderInfo const& header, boost::shared_ptr<strell::Strell> const& strell,
                         AnalyzeResult& result);

}  // namespace zu::md::common::quorin
