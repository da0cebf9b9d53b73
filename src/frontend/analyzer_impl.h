#pragma once

#include <boost/shared_ptr.hpp>
#include <vector>

#include "framework/analyzer_base.h"
#include "md/url.h"
#include "quorin/analyze_result.h"
#include "quorin/analyzer.h"
#include "strell/strell.h"

namespace zu::md::common::quorin {

/// The driver: the fixed order of steps that turns a URI into a result.
class MD_PRIVATE Analyzer::Impl {
 public:
  explicit Impl(Mode_t mode);

  int analyze(strell::OpenParams const& params, boost::shared_ptr<AnalyzeResult>& result);

 private:
  /// Opens the item and looks at what its server and its bytes tell.
  int analyzeSource(strell::OpenParams const& params, AnalyzeResult& result);

  /// Opens the URI and maps the URL layer's code to a status of the library.
  int open(strell::OpenParams const& params, boost::shared_ptr<MdchUrlBase>& url);

  /// Offers the source to each analyzer in turn.
  /// @param status what an unknown item is answered with when there is no analyzer
  int offerToChain(strell::OpenParams const& params, int status, AnalyzeResult& result);

  /// In the order in which they are asked; the first that recognises a stream has it.
  std::vector<boost::shared_ptr<AnalyzerBase>> chain_;
};

}  // namespace zu::md::common::quorin
