#include <stdexcept>

#include "quorin/analyzer.h"
#include "quorin/audio_info.h"
#include "readers.h"

namespace quorin_bench {

namespace quorin = zu::md::common::quorin;
namespace strell = zu::md::common::strell;

namespace {

class Ours : public Reader {
 public:
  bool read(const Item& item) override {
    strell::OpenParams params;
    params.uri = item.path;
    boost::shared_ptr<quorin::AnalyzeResult> result;
    const int status = analyzer_.analyze(params, result);
    const bool recognised = status == 0 && dynamic_cast<quorin::AudioInfo*>(result->info.get()) != nullptr;
    if (status != expectedStatus(item.variant) || recognised != (status == 0)) {
      throw std::runtime_error(item.path + ": ours ended with status " + std::to_string(status) +
                               (recognised ? " and audio" : " and no audio") + ", a file of the variant " +
                               item.variant);
    }
    return recognised;
  }

 private:
  quorin::Analyzer analyzer_ = quorin::Analyzer(quorin::Analyzer::MODE_AUDIO);
};

}  // namespace

ReaderKind oursReader() {
  return {"ours", [] { return std::make_unique<Ours>(); }};
}

}  // namespace quorin_bench
