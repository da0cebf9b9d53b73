// Memory that ends in the middle of an analysis: the n-th allocation fails, for every n, alone or with all behind it.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <filesystem>
#include <functional>
#include <new>

#include "counted_allocation.h"
#include "driver/fault_samples.h"
#include "formats/analyzer_audio_adts.h"
#include "formats/analyzer_audio_dlna_pcm.h"
#include "formats/analyzer_audio_flac.h"
#include "formats/analyzer_audio_mp3.h"
#include "formats/analyzer_audio_wav.h"
#include "framework/status.h"
#include "obq/debug.h"
#include "quorin/analyzer.h"
#include "quorin/quorin_url_rework.h"
#include "support/bytes.h"
#include "support/describe.h"
#include "support/temporary_folder.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr int mostAllocations = 1000;
constexpr size_t mostLogged = 1 << 20;  // bytes
constexpr size_t mostCalls = 1 << 16;   // of a source

/// Collects log lines without allocating.
class QuietLog {
 public:
  QuietLog() {
    text.reserve(mostLogged);
    obq::setDebugSink([this](uint32_t, uint32_t level, std::string_view line) {
      text.append(std::to_string(level)).append(" ").append(line);
    });
    obq::setDebugLevel(0x68, 5000);
  }
  ~QuietLog() {
    obq::setDebugLevel(0x68, 0);
    obq::setDebugSink(obq::DebugSink());
  }
  QuietLog(const QuietLog&) = delete;
  QuietLog& operator=(const QuietLog&) = delete;

  std::string text;
};

/// What opening an item answers.
struct Opened {
  int code = 0;
  boost::shared_ptr<MdchUrlBase> source;
};

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

using Opening = std::function<Opened()>;

/// How often the process has something open; 0 where it cannot be told.
long openDescriptors() {
  std::error_code error;
  const std::filesystem::directory_iterator descriptors("/proc/self/fd", error);
  return error ? 0 : std::distance(begin(descriptors), end(descriptors));
}

/// What an analysis came to.
struct Outcome {
  int status = 0;
  std::string answer;
  std::string log;

  bool operator==(const Outcome& other) const {
    return status == other.status && answer == other.answer && log == other.log;
  }
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
  return stream << "status " << outcome.status << '\n' << outcome.answer << outcome.log;
}

class AllocationFailure : public testing::Test {
 protected:
  AllocationFailure() {
    ::md::registerUrlScheme("memory",
                            [this](const std::string&, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
                              url = opened.source;
                              return opened.code;
                            });
  }
  ~AllocationFailure() override {
    onlyOneFails = false;
    ::md::registerUrlScheme("memory", ::md::UrlOpener());
  }

  /// Holds every analysis of `uri` with too little memory against the one with enough.
  /// @param open makes what the scheme "memory" answers
  void expectEveryFailureIsTold(
      const std::string& uri, const Opening& open = [] { return Opened(); }) {
    if (HasFailure()) {
      return;  // one item's failures are enough to read
    }
    SCOPED_TRACE(uri);
    params.uri = uri;
    open_ = open;
    analyzeWithEnough();  // the first analysis of a process makes what lasts
    const Outcome expected = analyzeWithEnough();
    const long descriptors = openDescriptors();
    for (const bool onlyOne : {false, true}) {
      onlyOneFails = onlyOne;
      int succeeding = 0;
      while (expectFailureIsTold(succeeding, expected) && !HasFailure()) {
        ASSERT_LT(++succeeding, mostAllocations);
      }
      EXPECT_GT(succeeding, 1);
      EXPECT_FALSE(HasFailure()) << (onlyOne ? "only" : "from") << " allocation " << succeeding + 1;
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    opened = Opened();
  }

  AnalyzerBase* analyzers[5] = {&pcm, &wav, &flac, &mp3, &adts};
  Opened opened;

 private:
  Outcome analyzeWithEnough() {
    opened = open_();
    log_.text.clear();
    boost::shared_ptr<AnalyzeResult> result;
    const int status = analyzer_.analyze(params, result);
    return {status, describe(result->info.get()), log_.text};
  }

  /// @return whether an allocation failed
  bool expectFailureIsTold(int succeeding, const Outcome& expected) {
    opened = open_();
    log_.text.clear();
    const long live = liveAllocations;
    const unsigned long failed = failedAllocations;
    expectDocumentedOutcome(succeeding, expected);
    EXPECT_EQ(liveAllocations, live) << "leaked";
    EXPECT_LE(opened.source.use_count(), 1) << "still open";
    EXPECT_EQ(analyzeWithEnough(), expected) << "afterwards";
    return failedAllocations != failed;
  }

  void expectDocumentedOutcome(int succeeding, const Outcome& expected) {
    boost::shared_ptr<AnalyzeResult> result;
    allocationsLeft = succeeding;
    try {
      const int status = analyzer_.analyze(params, result);
      allocationsLeft = never;
      if (status == STATUS_NO_MEMORY) {
        EXPECT_FALSE(result);
        EXPECT_EQ(log_.text, "4000 Analyzer::Impl::analyze() analyze '" + params.uri +
                                 "'.\n3000 Analyzer::Impl::analyze() out of memory.\n");
      } else {
        EXPECT_EQ((Outcome{status, describe(result->info.get()), log_.text}), expected);
      }
    } catch (const std::bad_alloc&) {
      allocationsLeft = never;
      ASSERT_TRUE(result);
      EXPECT_FALSE(result->info);
    }
  }

  AnalyzerAudioDlnaPcm pcm;
  AnalyzerAudioWav wav;
  AnalyzerAudioFlac flac;
  AnalyzerAudioMp3 mp3;
  AnalyzerAudioAdts adts;
  QuietLog log_;
  strell::OpenParams params;
  Opening open_;
  Analyzer analyzer_ = Analyzer(Analyzer::MODE_AUDIO);
};

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
