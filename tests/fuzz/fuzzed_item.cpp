#include "fuzzed_item.h"

#include <array>
#include <boost/make_shared.hpp>
#include <climits>

#include "driver/soundness.h"
#include "require.h"

namespace quorin_test {

namespace {

using zu::md::common::quorin::Analyzer;

constexpr int failure = -5;

}  // namespace

FuzzedItem::FuzzedItem(FuzzInput input) {
  const auto parts = static_cast<unsigned>(input.number(1));
  script.seekable = (parts & NotSeekable) == 0;
  script.sizeKnown = (parts & SizeUnknown) == 0;
  if ((parts & DeclaredSize) != 0) {
    script.declaredSize = static_cast<long long>(input.number(8) & LLONG_MAX);
  }
  if ((parts & Header) != 0) {
    hasHeader_ = true;
    header_ = linesOf(input.text());
  }
  if ((parts & ShortReads) != 0) {
    script.maxRead = static_cast<unsigned>(input.number(2));
  }
  if ((parts & Faults) != 0) {
    takeFaults(input);
  }
  const size_t hole = (parts & Hole) != 0 ? static_cast<size_t>(input.number(3)) % longestHole : 0;
  const auto where = static_cast<size_t>(hole != 0 ? input.number(3) : 0);
  if ((parts & Opening) != 0) {
    const auto opening = static_cast<int>(input.number(1));
    opening_ = opening & 0x7f;
    opening_ += opening_ >= 100 ? 50 : 0;  // 150 to 156 are what HTTP answers
    mode_ = (opening & 0x80) != 0 ? Analyzer::MODE_NONE : Analyzer::MODE_AUDIO;
  }
  script.bytes = input.bytes();
  makeHole(hole, where);
}

void FuzzedItem::takeFaults(FuzzInput& input) {
  const std::array<std::map<int, int> SourceScript::*, 6> operations = {
      &SourceScript::readFaults, &SourceScript::seekFaults,     &SourceScript::sizeFaults,
      &SourceScript::tellFaults, &SourceScript::seekableFaults, &SourceScript::headerListFaults};
  for (const auto faults : operations) {
    if (const auto call = static_cast<int>(input.number(2)); call != 0) {
      (script.*faults)[call] = failure;
    }
  }
}

void FuzzedItem::makeHole(size_t length, size_t where) {
  const size_t at = std::min(where, script.bytes.size());
  script.bytes.insert(script.bytes.begin() + static_cast<std::ptrdiff_t>(at), length, 0);
}

boost::shared_ptr<MdchUrlBase> FuzzedItem::source(const SourceScript& with) const {
  if (hasHeader_) {
    return boost::make_shared<ScriptedHttpSource>(with, header_);
  }
  return boost::make_shared<ScriptedSource>(with);
}

Analysis FuzzedItem::analyze(Analyzer& analyzer, const SourceScript& with) const {
  const ScriptedScheme scheme("fuzz", [&](const std::string&) {
    return ScriptedScheme::Answer{opening_, source(with)};
  });
  return Analysis(analyzer, "fuzz:item");
}

Analysis FuzzedItem::analyzeInPieces(Analyzer& analyzer) const {
  constexpr size_t many = 20000;  // bytes; one at a time takes too long beyond
  SourceScript pieces = script;
  pieces.maxRead = script.bytes.size() < many ? 1 : 4093;
  return analyze(analyzer, pieces);
}

/// Whether offsets count other bytes than those of the source, because metadata is taken out.
bool FuzzedItem::isSeparated() const {
  for (const std::string& line : header_) {
    if (line.find("metaint") != std::string::npos || line.find("METAINT") != std::string::npos) {
      return true;
    }
  }
  return false;
}

void FuzzedItem::requireSound(const Analysis& analysis) const {
  require(analysis.result != nullptr, "there is a result");
  require(analysis.status <= 0, "a status is 0 or negative");
  if (opening_ == 0 && !isSeparated()) {
    requireSame(unsoundness(analysis, script), "", "the analysis is sound: " + analysis.answer + analysis.log);
  }
}

}  // namespace quorin_test
