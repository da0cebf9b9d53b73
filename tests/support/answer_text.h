#pragma once

#include <string>

#include "quorin/analyze_result.h"
#include "quorin/info.h"

namespace quorin_test {

/// An answer in one line: "none"; "TYPE TARGET [CONTENT TYPE]" for a redirect; "TYPE" for any other.
inline std::string answerText(const zu::md::common::quorin::AnalyzeResult& result) {
  if (!result.info) {
    return "none";
  }
  std::string text = result.info->mimeType;
  if (const auto* redirect = dynamic_cast<const zu::md::common::quorin::RedirectInfo*>(result.info.get())) {
    for (const std::string& url : redirect->urls) {
      text += ' ' + url;
    }
    text += " [" + redirect->contentType + ']';
  }
  return text;
}

}  // namespace quorin_test
