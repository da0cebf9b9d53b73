// Whole analyses of one item, over a source that is made up. Whatever it does, the answer is sound; the same Analyzer
// finds the same again; and it does not matter in which pieces the bytes come.

#include "fuzzed_item.h"
#include "quorin/quorin_url_rework.h"
#include "require.h"

using namespace quorin_test;
using zu::md::common::quorin::Analyzer;
using zu::md::common::quorin::QuorinUrlRework;

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
  const Analysis second = item.analyze(analyzer);
  requireSame(first.answer, second.answer, "a second analysis answers the same");
  requireSame(first.log, second.log, "a second analysis logs the same");
  require(first.status == second.status, "a second analysis has the same status");
  if (item.failsAtPlaces()) {
    const Analysis inPieces = item.analyzeInPieces(analyzer);
    requireSame(first.answer, inPieces.answer, "reads of few bytes answer the same");
    requireSame(first.log, inPieces.log, "reads of few bytes log the same");
  }
  return 0;
}
