// Every fault at every place: an analysis of a damaged or failing source ends, answers within the stream, and answers
// what the golden record of the sample says.
//
// QUORIN_UPDATE_GOLDEN=1 in the environment rewrites the records; the diff is to be read like code.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include "analysis.h"
#include "fault_samples.h"
#include "obq/debug.h"
#include "outcome_record.h"
#include "soundness.h"
#include "support/bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr int failure = -5;

const std::filesystem::path goldens(QUORIN_FAULT_GOLDENS);

std::filesystem::path goldenOf(const std::string& sample) { return goldens / (sample + ".txt"); }

// ---- one analysis ----

struct Outcome {
  Analysis analysis;
  SourceCalls calls;
  long long playedFrom = -1;
};

/// A sample's item, to be analysed over sources that fail in different ways.
class Item {
 public:
  /// @param mostVerbose level of the library's lines that are listened to
  explicit Item(const FaultSample& sample, uint32_t mostVerbose = 5000)
      : header_(sample.header), mostVerbose_(mostVerbose) {}

  Outcome analyze(const SourceScript& script) const {
    Analyzer fresh(Analyzer::MODE_AUDIO);
    return analyze(fresh, script);
  }

  Outcome analyze(Analyzer& analyzer, const SourceScript& script) const {
    return header_.empty() ? analyzeFile(analyzer, script) : analyzeHttp(analyzer, script);
  }

 private:
  Outcome analyzeFile(Analyzer& analyzer, const SourceScript& script) const {
    const auto source = boost::make_shared<ScriptedSource>(script);
    return analyzeSource(analyzer, source, source->calls);
  }

  Outcome analyzeHttp(Analyzer& analyzer, const SourceScript& script) const {
    const auto source = boost::make_shared<ScriptedHttpSource>(script, header_);
    return analyzeSource(analyzer, source, source->source.calls);
  }

  Outcome analyzeSource(Analyzer& analyzer, const boost::shared_ptr<MdchUrlBase>& source,
                        const SourceCalls& calls) const {
    const ScriptedScheme scheme("fault", [source](const std::string&) { return ScriptedScheme::Answer{0, source}; });
    Outcome outcome = {Analysis(analyzer, "fault:item", mostVerbose_), calls};
    if (outcome.analysis.result->strell) {
      outcome.analysis.result->strell->tell(outcome.playedFrom);
    }
    return outcome;
  }

  std::deque<std::string> header_;
  uint32_t mostVerbose_;
};

SourceScript intactScript(const FaultSample& sample) {
  SourceScript script;
  script.bytes = sample.bytes;
  script.seekable = !sample.live;
  script.sizeKnown = !sample.live;
  return script;
}

// ---- the faults ----

using Visit = std::function<void(const RecordedCase&, const SourceScript&)>;

/// Shows every way in which the source of a sample can fail.
class Faults {
 public:
  Faults(const FaultSample& sample, Visit visit)
      : intact_(intactScript(sample)), calls_(Item(sample).analyze(intact_).calls), visit_(std::move(visit)) {}

  void visitAll() const {
    visit_({"nothing fails"}, intact_);
    failingReads();
    failingCalls("seek", calls_.seeks, &SourceScript::seekFaults);
    failingCalls("size", calls_.sizes, &SourceScript::sizeFaults);
    failingCalls("tell", calls_.tells, &SourceScript::tellFaults);
    failingCalls("getSeekable", calls_.seekables, &SourceScript::seekableFaults);
    failingCalls("getHeaderList", calls_.headerLists, &SourceScript::headerListFaults);
    shortReads();
    poorSources();
    wrongSizes();
    failingOffsets();
    truncations();
  }

 private:
  void failingReads() const {
    for (const unsigned delivered : {0U, 1U, 700U}) {
      for (int nth = 1; nth <= calls_.reads; ++nth) {
        SourceScript script = intact_;
        script.readFaults = {{nth, failure}};
        script.readFaultBytes = {{nth, delivered}};
        visit_({"read {} fails after " + std::to_string(delivered) + " bytes", nth}, script);
      }
    }
  }

  void failingCalls(const std::string& operation, int count, std::map<int, int> SourceScript::*faults) const {
    SourceScript every = intact_;
    for (int nth = 1; nth <= count; ++nth) {
      SourceScript script = intact_;
      script.*faults = {{nth, failure}};
      visit_({operation + " {} fails", nth}, script);
      (every.*faults)[nth] = failure;
    }
    if (count > 1) {
      visit_({"every " + operation + " fails"}, every);
    }
  }

  void shortReads() const {
    for (const unsigned most : {1U, 7U, 1000U, 5000U}) {
      SourceScript script = intact_;
      script.maxRead = most;
      visit_({"reads of at most {} bytes", most}, script);
    }
  }

  void poorSources() const {
    SourceScript script = intact_;
    script.sizeKnown = false;
    visit_({"size unknown"}, script);
    script.seekable = false;
    visit_({"size unknown and not seekable"}, script);
    script.sizeKnown = true;
    visit_({"not seekable"}, script);
  }

  void wrongSizes() const {
    const auto truth = static_cast<long long>(intact_.bytes.size());
    for (const long long told :
         std::set<long long>{0, 1, truth / 2, truth - 1, truth + 1, truth * 2, 10000, 10001, 1LL << 32, LLONG_MAX}) {
      SourceScript script = intact_;
      script.sizeKnown = true;
      script.declaredSize = told;
      visit_({"size said to be {}", told}, script);
    }
  }

  void failingOffsets() const {
    SourceScript script = intact_;
    for (size_t offset = 0; offset < intact_.bytes.size(); offset += offset < 600 ? 1 : 997) {
      script.failingOffset = static_cast<long long>(offset);
      visit_({"reads fail from byte {} on", script.failingOffset}, script);
    }
  }

  void truncations() const {
    SourceScript script = intact_;
    for (size_t length = 0; length < intact_.bytes.size(); length += length < 4096 ? 1 : 997) {
      script.bytes = head(intact_.bytes, length);
      visit_({"truncated to {} bytes", static_cast<long long>(length)}, script);
    }
  }

  SourceScript intact_;
  SourceCalls calls_;
  Visit visit_;
};

// ---- the record ----

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

/// What follows from the size alone is told by name, else the items of every length would differ.
std::string withoutSize(std::string text, long long size) {
  const std::string last = std::to_string(size - 1);
  replaceAll(text, "\ndata_end " + last + '\n', "\ndata_end SIZE-1\n");
  replaceAll(text, " end offset        : " + last + " 1\n", " end offset        : SIZE-1 1\n");
  replaceAll(text, "]fileSize=" + std::to_string(size) + ',', "]fileSize=SIZE,");
  return text;
}

std::string titleOf(const FaultSample& sample) {
  return "What an analysis of the sample " + sample.name + ", " + std::to_string(sample.bytes.size()) +
         " bytes, comes to.\nA range spans the cases that were tried. SIZE is the size that the source tells.\n";
}

std::string textOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

bool isToBeUpdated() { return std::getenv("QUORIN_UPDATE_GOLDEN") != nullptr; }

void expectGolden(const OutcomeRecord& record, const std::filesystem::path& path) {
  if (isToBeUpdated()) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << record.text();
  }
  ASSERT_TRUE(std::filesystem::exists(path)) << path << " is missing; QUORIN_UPDATE_GOLDEN=1 writes it";
  const std::string differences = record.differencesFrom(textOf(path));
  EXPECT_TRUE(differences.empty()) << path << '\n' << differences;
}

class FaultMatrix : public testing::TestWithParam<size_t> {
 protected:
  Outcome analyze() const { return item.analyze(script); }

  const FaultSample& sample = faultSamples()[GetParam()];
  const Item item{sample};
  SourceScript script = intactScript(sample);
};

TEST_P(FaultMatrix, EveryFaultLeadsToItsRecordedOutcome) {
  OutcomeRecord record(titleOf(sample));
  // One for all: what an item left behind would show in the record of the next.
  Analyzer analyzer(Analyzer::MODE_AUDIO);
  Faults(sample, [&](const RecordedCase& fault, const SourceScript& failing) {
    const Outcome outcome = item.analyze(analyzer, failing);
    EXPECT_EQ(unsoundness(outcome.analysis, failing), "") << fault.text();
    const std::string answer = "status " + std::to_string(outcome.analysis.status) + ", played from " +
                               std::to_string(outcome.playedFrom) + '\n' + outcome.analysis.answer;
    record.add(fault, withoutSize(answer, toldSize(failing)), withoutSize(outcome.analysis.log, toldSize(failing)));
  }).visitAll();
  expectGolden(record, goldenOf(sample.name));
}

TEST_P(FaultMatrix, EveryFaultLeadsToTheSameTwice) {
  Faults(sample, [this](const RecordedCase& fault, const SourceScript& failing) {
    if (failing.bytes.size() != sample.bytes.size()) {
      return;  // truncated: the record tells
    }
    const Outcome first = item.analyze(failing);
    const Outcome second = item.analyze(failing);
    EXPECT_EQ(first.analysis.status, second.analysis.status) << fault.text();
    EXPECT_EQ(first.analysis.answer, second.analysis.answer) << fault.text();
    EXPECT_EQ(first.analysis.log, second.analysis.log) << fault.text();
  }).visitAll();
}

TEST_P(FaultMatrix, WhoListensChangesNoAnswer) {
  constexpr uint32_t otherModule = 0x77;
  const Item unheard(sample, 0);
  Faults(sample, [&](const RecordedCase& fault, const SourceScript& failing) {
    if (failing.bytes.size() != sample.bytes.size()) {
      return;  // truncated: there are too many of them
    }
    const Outcome heard = item.analyze(failing);
    for (const uint32_t ofOthers : {0U, 5000U}) {
      obq::setDebugLevel(otherModule, ofOthers);
      const Outcome silent = unheard.analyze(failing);
      EXPECT_EQ(silent.analysis.status, heard.analysis.status) << fault.text();
      EXPECT_EQ(silent.analysis.answer, heard.analysis.answer) << fault.text();
      EXPECT_EQ(silent.analysis.log, "") << fault.text();
    }
    obq::setDebugLevel(otherModule, 0);
  }).visitAll();
}

TEST_P(FaultMatrix, OfTheSourcesPropertiesLeaveTheItemRecognised) {
  const Analysis whole = analyze().analysis;
  script.sizeFault = failure;
  EXPECT_EQ(analyze().analysis.status == whole.status, !sample.needsSize);
  script.sizeFault = 0;
  script.seekableFault = failure;
  EXPECT_EQ(analyze().analysis.status, whole.status);
  script.seekableFault = 0;
  script.tellFault = failure;
  EXPECT_EQ(analyze().analysis.answer, whole.answer);
}

TEST_P(FaultMatrix, ShortReadsChangeNothing) {
  const Outcome whole = analyze();
  for (const unsigned most : {1U, 7U, 1000U, 5000U}) {
    script.maxRead = most;
    const Outcome pieces = analyze();
    EXPECT_EQ(pieces.analysis.status, whole.analysis.status);
    EXPECT_EQ(pieces.analysis.answer, whole.analysis.answer);
    EXPECT_EQ(pieces.analysis.log, whole.analysis.log);
    EXPECT_LE(pieces.calls.bytes, whole.calls.bytes);
  }
}

TEST_P(FaultMatrix, WithoutSeekingTheItemIsTheSame) {
  const Outcome seekable = analyze();
  script.seekable = false;
  const Outcome sequential = analyze();
  EXPECT_EQ(sequential.analysis.status, seekable.analysis.status);
  for (const char* const property : {"data_start", "bitrate", "duration", "sampling_frequency", "frame_size", "url"}) {
    EXPECT_EQ(sequential.analysis.value(property), seekable.analysis.value(property)) << property;
  }
  EXPECT_EQ(sequential.analysis.answer.find("\ncan seek"), std::string::npos);
  EXPECT_EQ(sequential.calls.seeks, 0);
}

INSTANTIATE_TEST_SUITE_P(Samples, FaultMatrix, testing::Range<size_t>(0, faultSamples().size()),
                         [](const testing::TestParamInfo<size_t>& sample) {
                           return faultSamples()[sample.param].name;
                         });

TEST(FaultGoldens, BelongToASampleEach) {
  std::set<std::string> expected;
  for (const FaultSample& sample : faultSamples()) {
    expected.insert(goldenOf(sample.name));
  }
  for (const auto& file : std::filesystem::directory_iterator(goldens)) {
    EXPECT_EQ(expected.count(file.path()), 1U) << file.path();
  }
}

}  // namespace
}  // namespace zu::md::common::quorin
