#pragma once

#include <boost/shared_ptr.hpp>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "md/url.h"

namespace zu::md::common::quorin {

/// What the library needs of an HTTP response header. A field that the header does not have stays empty.
struct HeaderInfo {
  std::string contentType;  ///< as sent, parameters included, without the line end
  std::string location;     ///< target of a redirect as sent, without the line end
};

/// What stands in a header line behind the field name `key`, found anywhere in the line and whatever its case, and the
/// blanks and colons that follow it; the line end belongs to it. Nothing for a line without the field name.
std::optional<std::string> headerValue(const std::string& line, std::string_view key);

/// Removes one line feed from the end of `s`, then one carriage return.
void stripTrailingCRLF(std::string& s);

/// Looks for the content type and the location in the lines of a header, the last one of each winning. A line without
/// either changes nothing in `info`.
///
/// The field names are found anywhere in a line, so that "Content-Location" counts as a location: servers that write
/// their header carelessly are understood, and players rely on it.
void parseHeader(std::deque<std::string> const& lines, HeaderInfo& info);

/// The same with the header of an opened source. One that has no header, and an empty pointer, change nothing.
/// @return 0, or the source's failure to deliver its header; `info` is untouched then
int parseHeader(boost::shared_ptr<MdchUrlBase> const& url, HeaderInfo& info);

}  // namespace zu::md::common::quorin
