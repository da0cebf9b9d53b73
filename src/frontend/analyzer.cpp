#include "quorin/analyzer.h"

#include <boost/make_shared.hpp>

#include "frontend/analyzer_impl.h"

namespace zu::md::common::quorin {

static_assert(Analyzer::MODE_NONE == 0 && Analyzer::MODE_AUDIO == 1, "the values are part of the interface");

Analyzer::Analyzer(Mode_t mode) : impl_(boost::make_shared<Impl>(mode)) {}

int Analyzer::analyze(strell::OpenParams const& params, boost::shared_ptr<AnalyzeResult>& result) {
  return impl_->analyze(params, result);
}

}  // namespace zu::md::common::quorin
