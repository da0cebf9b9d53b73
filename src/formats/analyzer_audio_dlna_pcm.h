#pragma once

#include <boost/shared_ptr.hpp>

#include "framework/analyzer_base.h"

namespace zu::md::common::quorin {

/// Raw 16-bit PCM as DLNA servers send it ("audio/L16", RFC 2586). The stream has no header of its own: the content
/// type tells rate and channels, the size tells the duration.
class AnalyzerAudioDlnaPcm : public AnalyzerBase {
 public:
  AnalyzerAudioDlnaPcm();
  ~AnalyzerAudioDlnaPcm() override;

  int analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) override;
};

}  // namespace zu::md::common::quorin
