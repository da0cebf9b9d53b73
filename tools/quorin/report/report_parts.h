#pragma once

#include <string_view>

namespace quorin_command {

/// A file of the folder report/, built in.
struct PagePart {
  std::string_view text;
  std::string_view sha256;  ///< in hexadecimal digits
};

extern const PagePart pageHtml;  ///< with {{names}} of what belongs in their places
extern const PagePart pageCss;
extern const PagePart pageJs;

}  // namespace quorin_command
