// Repairing URLs: total, idempotent, and without any other effect than escapes, lower case and blanks at the ends.

#include <algorithm>
#include <string>

#include "md/url.h"
#include "quorin/analyze_result.h"
#include "redirect/well_formed.h"
#include "require.h"

using namespace quorin_test;
using namespace zu::md::common;

namespace {

bool isPlain(char c) { return c > ' ' && c < 0x7f; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string url(data, data + size);
  const std::string repaired = md::urlPatch(url);
  requireSame(md::urlPatch(repaired), repaired, "a repaired URL needs no repair");
  require(repaired.size() <= 3 * url.size(), "a byte becomes one escape at most");
  if (repaired != url) {
    // The authority is left alone but for the case of its host.
    const size_t path = std::min(repaired.find_first_of("/?#", repaired.find("://") + 3), repaired.size());
    require(std::all_of(repaired.begin() + static_cast<std::ptrdiff_t>(path), repaired.end(), isPlain),
            "behind the authority nothing is left that has to be escaped");
  }
  strell::OpenParams params;
  params.uri = url;
  quorin::AnalyzeResult result;
  quorin::checkWellFormed(params, result);
  require(!result.info || repaired != url, "what needs no repair is not redirected");
  return 0;
}
