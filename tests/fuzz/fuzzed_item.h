#pragma once

#include <deque>
#include <string>

#include "driver/analysis.h"
#include "fuzz_input.h"
#include "support/scripted_source.h"

namespace quorin_test {

/// An item of which everything is made up: its bytes, the header of the response, its size, whether it can be sought
/// in, how many bytes a read delivers, and what fails when.
///
/// The last byte of the input tells which of these follow in front of it, in the order of `FuzzedItem::Part`; a zero is
/// a file that behaves. tests/fuzz/make_seeds.cpp writes this form.
class FuzzedItem {
 public:
  enum Part : unsigned {
    NotSeekable = 1,
    SizeUnknown = 2,
    DeclaredSize = 4,  ///< 8 bytes
    Header = 8,        ///< a text, each line with its end
    ShortReads = 16,   ///< 2 bytes: most bytes per read
    Faults = 32,  ///< 2 bytes each for the first read, seek, size, tell, getSeekable, getHeaderList that fails; 0: none
    Hole = 64,    ///< 3 bytes: its length; 3 bytes: where in the bytes it stands
    Opening = 128  ///< 1 byte: what opening the item answers, bit 7 for raw PCM alone
  };
  /// The longest hole: beyond the head of a source that cannot seek.
  static constexpr size_t longestHole = size_t{1200} * 1024;

  explicit FuzzedItem(FuzzInput input);

  /// One analysis over a fresh source.
  Analysis analyze(zu::md::common::quorin::Analyzer& analyzer) const { return analyze(analyzer, script); }

  /// The same over a source that delivers a few bytes per read at most.
  Analysis analyzeInPieces(zu::md::common::quorin::Analyzer& analyzer) const;

  /// Ends the process unless the analysis is what any analysis has to be.
  void requireSound(const Analysis& analysis) const;

  /// A fresh source.
  boost::shared_ptr<MdchUrlBase> source() const { return source(script); }

  /// Whether a source that delivers less per read fails at the same places.
  bool failsAtPlaces() const { return script.readFaults.empty(); }
  int mode() const { return mode_; }

  SourceScript script;

 private:
  void takeFaults(FuzzInput& input);
  void makeHole(size_t length, size_t where);
  boost::shared_ptr<MdchUrlBase> source(const SourceScript& with) const;
  Analysis analyze(zu::md::common::quorin::Analyzer& analyzer, const SourceScript& with) const;
  bool isSeparated() const;

  bool hasHeader_ = false;
  std::deque<std::string> header_;
  int opening_ = 0;
  int mode_ = zu::md::common::quorin::Analyzer::MODE_AUDIO;
};

}  // namespace quorin_test
