#include <gtest/gtest.h>

#include <atomic>
#include <boost/make_shared.hpp>
#include <thread>
#include <type_traits>

#include "analysis.h"
#include "framework/status.h"
#include "quorin/audio_info.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

static_assert(Analyzer::MODE_NONE == 0 && Analyzer::MODE_AUDIO == 1);
static_assert(sizeof(Analyzer::Mode_t) == 4);
static_assert(sizeof(void*) != 4 || sizeof(MdchOpenParams) == 36);

SourceScript scriptOf(Bytes bytes) {
  SourceScript script;
  script.bytes = std::move(bytes);
  return script;
}

ScriptedScheme::Opener answering(int code) {
  return [code](const std::string&) { return ScriptedScheme::Answer{code, nullptr}; };
}

const char* const begun = "4000 Analyzer::Impl::analyze() analyze 'test:item'.";

// ---- before opening ----

TEST(Analyze, EmptyUriLeavesAPreviousResultUntouched) {
  Analyzer analyzer(Analyzer::MODE_AUDIO);
  const auto before = boost::make_shared<AnalyzeResult>();
  auto result = before;
  const LogCapture log;
  EXPECT_EQ(analyzer.analyze(strell::OpenParams(), result), STATUS_NO_ARGUMENT);
  EXPECT_EQ(result, before);
  EXPECT_EQ(log.dump(), "3000 Analyzer::Impl::analyze() empty URI.\n");
}

TEST(Analyze, EveryCallReplacesTheResultBefore) {
  const ScriptedScheme scheme("test", answering(2));
  Analyzer analyzer(Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  params.uri = "test:item";
  const auto before = boost::make_shared<AnalyzeResult>();
  before->info = boost::make_shared<Info>();
  auto result = before;
  EXPECT_EQ(analyzer.analyze(params, result), STATUS_NOT_FOUND);
  ASSERT_TRUE(result);
  EXPECT_NE(result, before);
  EXPECT_FALSE(result->info);
  EXPECT_EQ(before.use_count(), 1);
}

// ---- opening ----

TEST(Analyze, KnownOpenCodesAreMappedToAStatus) {
  const std::pair<int, int> mapped[] = {{154, STATUS_REDIRECT},    {150, STATUS_OPEN_FAILED}, {151, STATUS_OPEN_FAILED},
                                        {152, STATUS_OPEN_FAILED}, {153, STATUS_OPEN_FAILED}, {155, STATUS_OPEN_FAILED},
                                        {156, STATUS_OPEN_FAILED}, {11, STATUS_OPEN_FAILED},  {22, STATUS_OPEN_FAILED},
                                        {-11, STATUS_OPEN_FAILED}, {2, STATUS_NOT_FOUND},     {-2, STATUS_NOT_FOUND}};
  for (const auto& [code, status] : mapped) {
    const ScriptedScheme scheme("test", answering(code));
    const Analysis analysis("test:item");
    EXPECT_EQ(analysis.status, status) << code;
    ASSERT_TRUE(analysis.result);
    EXPECT_FALSE(analysis.result->info);
    EXPECT_FALSE(analysis.result->strell);
    EXPECT_EQ(analysis.log.find("unkown fs error"), std::string::npos) << code;
    EXPECT_EQ(analysis.log.rfind(std::string(begun) + "\n", 0), 0U);
    EXPECT_TRUE(analysis.logged("3000 Analyzer::Impl::analyze() open error=" + std::to_string(status) + "."));
  }
}

TEST(Analyze, OtherOpenCodesAreNamedInTheLog) {
  for (const int code : {1, -1, 13, -13, -22, -150, -154, 93, 149, 157, 2147483647}) {
    const ScriptedScheme scheme("test", answering(code));
    const Analysis analysis("test:item");
    EXPECT_EQ(analysis.status, STATUS_OPEN_UNKNOWN) << code;
    EXPECT_FALSE(analysis.result->info);
    EXPECT_TRUE(analysis.logged("3000 Strell::Impl::open(): unkown fs error " + std::to_string(code) +
                                ".\n3000 Analyzer::Impl::analyze() open error=-297."))
        << analysis.log;
  }
}

TEST(Analyze, AnUnknownSchemeIsAnUnknownFailure) {
  EXPECT_EQ(Analysis("nobody-knows:item").status, STATUS_OPEN_UNKNOWN);
}

TEST(Analyze, ARedirectThatDoesNotSayWhereToHasNoInfo) {
  const ScriptedScheme scheme("test", [](const std::string&) {
    return ScriptedScheme::Answer{
        154, boost::make_shared<ScriptedHttpSource>(SourceScript(), std::deque<std::string>{"HTTP/1.1 302 Found\r\n"})};
  });
  const Analysis analysis("test:item");
  EXPECT_EQ(analysis.status, STATUS_REDIRECT);
  EXPECT_EQ(analysis.answer, "none\n");
  EXPECT_FALSE(analysis.result->strell);
  EXPECT_TRUE(analysis.logged("3000 Analyzer::Impl::analyze() open error=-293."));
}

TEST(Analyze, AnOpenerWithoutASourceCannotBeAttached) {
  const ScriptedScheme scheme("test", answering(0));
  const Analysis analysis("test:item");
  EXPECT_EQ(analysis.status, strell::NO_SOURCE);
  EXPECT_EQ(analysis.answer, "none\n");
  EXPECT_FALSE(analysis.result->strell);
  EXPECT_TRUE(analysis.logged("3000 Analyzer::Impl::analyze() open failed err=-1002."));
}

TEST(Analyze, TheItemIsOpenedOnceByItsUri) {
  const ScriptedScheme scheme("test", scriptOf(mpegFrames(60)));
  Analysis analysis("test:some item?x=%20#y");
  EXPECT_EQ(scheme.opened, std::vector<std::string>{"test:some item?x=%20#y"});
}

TEST(Analyze, OptionsReachTheUrlLayerInOrder) {
  const ScriptedScheme scheme("test", answering(2));
  Analyzer analyzer(Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  params.uri = "test:item";
  params.options = {"one", "two", "three", "four", "five"};
  boost::shared_ptr<AnalyzeResult> result;
  analyzer.analyze(params, result);
  ASSERT_EQ(scheme.params.size(), 1U);
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(scheme.params[0].texts[i], params.options[i]);
  }
  EXPECT_EQ(scheme.params[0].raw.mode, 0U);
  EXPECT_EQ(scheme.params[0].raw.reserved0, 0U);
  EXPECT_EQ(scheme.params[0].raw.reserved1, 0U);
  EXPECT_EQ(scheme.params[0].raw.reserved2, 0U);
}

TEST(Analyze, AnEmptyOptionIsNotGiven) {
  for (size_t empty = 0; empty < 5; ++empty) {
    const ScriptedScheme scheme("test", answering(2));
    Analyzer analyzer(Analyzer::MODE_AUDIO);
    strell::OpenParams params;
    params.uri = "test:item";
    params.options = {"a", "b", "c", "d", "e"};
    params.options[empty].clear();
    boost::shared_ptr<AnalyzeResult> result;
    analyzer.analyze(params, result);
    for (size_t i = 0; i < 5; ++i) {
      EXPECT_EQ(scheme.params[0].given[i], i != empty);
    }
  }
}

TEST(Analyze, OpenFlagsBits0To5AreTheOpenMode) {
  const std::pair<uint32_t, uint32_t> modes[] = {{0, 0},       {0x01, 0x01}, {0x10, 0x10},       {0x20, 0x20},
                                                 {0x30, 0x30}, {0x3f, 0x3f}, {0xffffffff, 0x3f}, {0xffffffc0, 0}};
  for (const auto& [flags, mode] : modes) {
    const ScriptedScheme scheme("test", answering(2));
    Analyzer analyzer(Analyzer::MODE_AUDIO);
    strell::OpenParams params;
    params.uri = "test:item";
    params.openFlags = flags;
    boost::shared_ptr<AnalyzeResult> result;
    analyzer.analyze(params, result);
    EXPECT_EQ(scheme.params[0].raw.mode, mode);
  }
}

// ---- what comes out ----

TEST(Analyze, RecognisedAudioHandsBackItsSourceAtTheDataStart) {
  const ScriptedScheme scheme("test", scriptOf(concat({Id3v2Tag().around(filler(90)), mpegFrames(60)})));
  const Analysis analysis("test:item");
  EXPECT_EQ(analysis.status, 0);
  ASSERT_TRUE(boost::dynamic_pointer_cast<AudioInfo>(analysis.result->info));
  ASSERT_TRUE(analysis.result->strell);
  EXPECT_EQ(analysis.result->strell.use_count(), 1);
  long long position = 0;
  analysis.result->strell->tell(position);
  EXPECT_EQ(position, 100);
  unsigned char bytes[4] = {};
  unsigned got = 0;
  std::vector<strell::IcyData> icy;
  EXPECT_EQ(analysis.result->strell->readData(bytes, 4, got, icy), 0);
  EXPECT_EQ(Bytes(bytes, bytes + 4), MpegHeader().bytes());
}

TEST(Analyze, AnUnrecognisedItemIsUnknownWithTheStatusOfTheLastAnalyzer) {
  const ScriptedScheme scheme("test", scriptOf(noise(20000)));
  const Analysis analysis("test:item");
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.answer, "application/unknown\n");
  EXPECT_FALSE(boost::dynamic_pointer_cast<AudioInfo>(analysis.result->info));
  EXPECT_TRUE(analysis.result->strell);
  EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioMp3::analyze() out not found. "));
  const std::string last = "4000 Analyzer::Impl::analyze() unknown type 'test:item'.\n";
  ASSERT_GE(analysis.log.size(), last.size());
  EXPECT_EQ(analysis.log.substr(analysis.log.size() - last.size()), last);
}

TEST(Analyze, AnEmptyItemIsUnknown) {
  const ScriptedScheme scheme("test", scriptOf({}));
  EXPECT_EQ(Analysis("test:item").answer, "application/unknown\n");
}

TEST(Analyze, EvenModesDoNotLookForMpegAudio) {
  const ScriptedScheme scheme("test", scriptOf(mpegFrames(60)));
  for (const int mode : {0, 2, 4, 0x7ffffffe}) {
    const Analysis analysis("test:item", mode);
    EXPECT_EQ(analysis.answer, "application/unknown\n");
    EXPECT_TRUE(analysis.result->strell);
    EXPECT_EQ(analysis.log.find("AnalyzerAudioMp3"), std::string::npos);
  }
}

TEST(Analyze, OddModesLookForMpegAudio) {
  const ScriptedScheme scheme("test", scriptOf(mpegFrames(60)));
  for (const int mode : {1, 3, 0x7fffffff}) {
    EXPECT_EQ(Analysis("test:item", mode).value("media_type"), "0");
  }
}

TEST(Analyze, TheSourceLivesAsLongAsTheResult) {
  const auto source = boost::make_shared<ScriptedSource>(scriptOf(mpegFrames(60)));
  const ScriptedScheme scheme("test", [source](const std::string&) { return ScriptedScheme::Answer{0, source}; });
  const long own = source.use_count();
  Analysis analysis("test:item");
  EXPECT_EQ(source.use_count(), own + 1);
  analysis.result.reset();
  EXPECT_EQ(source.use_count(), own);
}

// ---- one analyzer, many items ----

/// Items of different kinds, by name.
Bytes item(const std::string& name) {
  if (name == "plain") {
    return mpegFrames(200);
  }
  if (name == "tagged") {
    return concat({Id3v2Tag().around(id3v2Picture(3, noise(700))), mpegFrames(100)});
  }
  if (name == "xing") {
    return concat({infoFrame(XingHeader{"Xing", 0xf, 5000, 2000000}.bytes()), mpegFrames(60)});
  }
  if (name == "cover") {
    return concat({Id3v2Tag().around(id3v2Picture(3, noise(200000))), mpegFrames(100)});
  }
  return noise(20000);
}

const char* const itemNames[] = {"plain", "tagged", "xing", "cover", "noise"};

TEST(Analyze, OneAnalyzerServesManyItemsAlike) {
  const ScriptedScheme scheme("test", [](const std::string& uri) {
    return ScriptedScheme::Answer{0, boost::make_shared<ScriptedSource>(scriptOf(item(uri.substr(5))))};
  });
  Analyzer reused(Analyzer::MODE_AUDIO);
  for (int round = 0; round < 2; ++round) {
    for (const std::string name : itemNames) {
      const Analysis fresh("test:" + name);
      const Analysis again(reused, "test:" + name);
      EXPECT_EQ(again.status, fresh.status);
      EXPECT_EQ(again.answer, fresh.answer);
      EXPECT_EQ(again.log, fresh.log);
    }
  }
}

TEST(Analyze, AnalyzersInSeveralThreadsAreIndependent) {
  ::md::registerUrlScheme("many",
                          [](const std::string& uri, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
                            url = boost::make_shared<ScriptedSource>(scriptOf(item(uri.substr(5))));
                            return 0;
                          });
  std::vector<std::string> expected;
  for (const std::string name : itemNames) {
    expected.push_back(Analysis("many:" + name).answer);
  }
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (size_t first = 0; first < 8; ++first) {
    threads.emplace_back([&expected, &wrong, first] {
      Analyzer analyzer(Analyzer::MODE_AUDIO);
      for (size_t i = 0; i < 40; ++i) {
        const size_t which = (first + i) % expected.size();
        strell::OpenParams params;
        params.uri = std::string("many:") + itemNames[which];
        boost::shared_ptr<AnalyzeResult> result;
        analyzer.analyze(params, result);
        wrong += describe(result->info.get()) == expected[which] ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  ::md::registerUrlScheme("many", ::md::UrlOpener());
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace zu::md::common::quorin
