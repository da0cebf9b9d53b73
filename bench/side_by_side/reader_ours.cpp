#include "quorin/analyzer.h"
#include "quorin/audio_info.h"
#include "readers.h"

namespace quorin_bench {

namespace quorin = zu::md::common::quorin;
namespace strell = zu::md::common::strell;

namespace {

class Ours : public Reader {
 public:
  bool read(const std::string& path) override {
    strell::OpenParams params;
    params.uri = path;
    boost::shared_ptr<quorin::AnalyzeResult> result;
    return analyzer_.analyze(params, result) == 0 && dynamic_cast<quorin::AudioInfo*>(result->info.get()) != nullptr;
  }

 private:
  quorin::Analyzer analyzer_ = quorin::Analyzer(quorin::Analyzer::MODE_AUDIO);
};

}  // namespace

ReaderKind oursReader() {
  return {"ours", [] { return std::make_unique<Ours>(); }};
}

}  // namespace quorin_bench
