// Memory that ends in the middle of an analysis: the n-th allocation fails, for every n, alone or with all behind it.

#include "allocation_failure.h"

#include <boost/make_shared.hpp>
#include <new>

#include "counted_allocation.h"
#include "driver/fault_samples.h"
#include "quorin/quorin_url_rework.h"
#include "support/temporary_folder.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr size_t mostCalls = 1 << 16;  // of a source

/// A source that does not allocate while it is used, except for what it hands out.
boost::shared_ptr<MdchUrlBase> makeSource(const FaultSample& sample) {
  SourceScript script;
  script.bytes = sample.bytes;
  script.seekable = !sample.live;
  script.sizeKnown = !sample.live;
  if (!sample.header.empty()) {
    const auto http = boost::make_shared<ScriptedHttpSource>(script, sample.header);
    http->source.calls.reserve(mostCalls);
    return http;
  }
  const auto source = boost::make_shared<ScriptedSource>(script);
  source->calls.reserve(mostCalls);
  return source;
}

TEST_F(AllocationFailure, OfEverySampleIsTold) {
  for (const FaultSample& sample : faultSamples()) {
    expectEveryFailureIsTold("memory:" + sample.name, [&] { return Opened{0, makeSource(sample)}; });
  }
}

TEST_F(AllocationFailure, OfEveryFileIsTold) {
  const TemporaryFolder folder;
  for (const FaultSample& sample : faultSamples()) {
    if (sample.header.empty()) {
      expectEveryFailureIsTold("file://" + folder.write(sample.name, sample.bytes));
    }
  }
}

TEST_F(AllocationFailure, OfWhatIsNotLookedIntoIsTold) {
  const TemporaryFolder folder;
  expectEveryFailureIsTold(folder.path());
  expectEveryFailureIsTold("http:/host//sound of music.mp3");
  expectEveryFailureIsTold("nothing:is registered for this");
  expectEveryFailureIsTold(folder / "missing");
}

TEST_F(AllocationFailure, OfARedirectIsTold) {
  for (const char* const location : {"Location: http://host/elsewhere.mp3\r\n", "X-Other: header\r\n"}) {
    expectEveryFailureIsTold("memory:redirect", [location] {
      return Opened{154, makeSource({"", {}, {"HTTP/1.1 302 Found\r\n", location}})};
    });
  }
}

TEST_F(AllocationFailure, OfATranslationIsTold) {
  struct Elsewhere : UrlTranslator {
    int translate(std::string const&, std::string& translated) override {
      translated = "http://host/a name that does not fit into the string itself";
      return 0;
    }
  };
  const auto translator = boost::make_shared<Elsewhere>();
  QuorinUrlRework::getInstance().add(translator);
  expectEveryFailureIsTold("memory:translated");
  QuorinUrlRework::getInstance().remove(translator);
}

TEST_F(AllocationFailure, InAnAnalyzerLeavesTheInfoAlone) {
  const auto untouched = boost::make_shared<Info>();
  for (const FaultSample& sample : faultSamples()) {
    for (AnalyzerBase* const analyzer : analyzers) {
      for (int succeeding = 0;; ++succeeding) {
        const auto strell = boost::make_shared<strell::Strell>();
        ASSERT_EQ(strell->attach(makeSource(sample)), 0);
        boost::shared_ptr<Info> info = untouched;
        allocationsLeft = succeeding;
        try {
          analyzer->analyze(strell, info);
          allocationsLeft = never;
          break;
        } catch (const std::bad_alloc&) {
          allocationsLeft = never;
          ASSERT_EQ(info, untouched) << sample.name << ' ' << succeeding;
          ASSERT_EQ(info->mimeType, "") << sample.name << ' ' << succeeding;
        }
      }
    }
  }
}

}  // namespace
}  // namespace zu::md::common::quorin
