// Whole analyses of one item, over a source that is made up. Whatever it does, the answer is sound; the same Analyzer
// finds the same again; and it does not matter in which pieces the bytes come.

#include "fuzzed_item.h"
#include "quorin/quorin_url_rework.h"
#include "require.h"

using namespace quorin_test;
using zu::md::common::quorin::Analyzer;
using zu::md::common::quorin::QuorinUrlRework;

namespace {

/// Everything that an analysis tells, and where it leaves the item.
std::string toldBy(const Analysis& analysis) {
  long long position = -1;
  if (analysis.result->strell) {
    analysis.result->strell->tell(position);
  }
  return "status " + std::to_string(analysis.status) + ", played from " + std::to_string(position) + '\n' +
         analysis.answer + analysis.log;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  QuorinUrlRework::getInstance();  // which logs that it was made, once
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // For good: what an item leaves behind shows in those that follow.
  static Analyzer audio(Analyzer::MODE_AUDIO);
  static Analyzer pcm(Analyzer::MODE_NONE);
  const FuzzedItem item(FuzzInput(data, size));
  Analyzer& analyzer = item.mode() == Analyzer::MODE_AUDIO ? audio : pcm;
  const Analysis first = item.analyze(analyzer);
  item.requireSound(first);
  requireSame(toldBy(first), toldBy(item.analyze(analyzer)), "a second analysis comes to the same");
  if (item.failsAtPlaces()) {
    requireSame(toldBy(first), toldBy(item.analyzeInPieces(analyzer)), "reads of few bytes come to the same");
  }
  return 0;
}
