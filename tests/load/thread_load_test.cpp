// Many analyzers at once, while other threads change everything that the process shares between them.
#include <gtest/gtest.h>

#include <atomic>
#include <boost/make_shared.hpp>
#include <chrono>
#include <functional>
#include <thread>

#include "load_items.h"
#include "obq/debug.h"
#include "quorin/quorin_url_rework.h"
#include "support/process_resources.h"
#include "vdir2.h"

namespace quorin_test {
namespace {

using zu::md::common::quorin::Analyzer;
using zu::md::common::quorin::QuorinUrlRework;
using zu::md::common::quorin::UrlTranslator;

constexpr size_t threadCount = 64;
constexpr uint32_t libraryModule = 0x68;
/// For each thread. Sanitizers and qemu take ten times as long.
const size_t analysesPerThread = runsNatively() ? 4000 : 30;

/// Knows no item of this test.
struct KnowsNothing : UrlTranslator {
  int translate(std::string const&, std::string&) override { return 0; }
};

/// Does something over and over in a thread while it lives, with pauses that let others run.
class Meanwhile {
 public:
  explicit Meanwhile(std::function<void()> act)
      : thread_([this, act = std::move(act)] {
          do {
            act();
            ++count_;
            std::this_thread::sleep_for(std::chrono::microseconds(200));
          } while (!ending_);
        }) {}
  ~Meanwhile() {
    ending_ = true;
    thread_.join();
  }
  Meanwhile(const Meanwhile&) = delete;
  Meanwhile& operator=(const Meanwhile&) = delete;

  int count() const { return count_; }

 private:
  std::atomic<bool> ending_{false};
  std::atomic<int> count_{0};
  std::thread thread_;
};

/// The same scheme again, and one that comes and goes.
void changeSchemes(const LoadItems& items) {
  md::registerUrlScheme("load", items.opener());
  md::registerUrlScheme("flicker", items.opener());
  md::registerUrlScheme("flicker", md::UrlOpener());
}

void changeTranslators() {
  const auto translator = boost::make_shared<KnowsNothing>();
  QuorinUrlRework::getInstance().add(translator);
  QuorinUrlRework::getInstance().remove(translator);
}

/// The same medium again, and ever others.
void changeMedia(const LoadItems& items, int number) {
  vdir2MediaRegister("LOAD-CARD", items.folder().path().c_str());
  vdir2MediaRegister(("OTHER-" + std::to_string(number % 8)).c_str(), items.folder().path().c_str());
}

void changeDebug(std::atomic<unsigned long>& logged, size_t number) {
  constexpr uint32_t levels[] = {0, 3000, 5000};
  obq::setDebugSink([&logged](uint32_t, uint32_t, std::string_view text) { logged += text.size(); });
  obq::setDebugLevel(libraryModule, levels[number % 3]);
}

/// Items of every kind, those of the changing medium included.
std::vector<std::string> urisOf(const LoadItems& items) {
  std::vector<std::string> uris = items.uris();
  for (const char* name : {"mp3_plain", "flac_picture", "wav_with_list", "missing", ""}) {
    uris.push_back(std::string("vdr2://LOAD-CARD/") + name);
  }
  return uris;
}

TEST(ThreadLoad, AnalysesAreTheSameWhileWhatTheyShareChanges) {
  const LoadItems items;
  vdir2MediaRegister("LOAD-CARD", items.folder().path().c_str());
  const std::vector<std::string> uris = urisOf(items);
  std::vector<std::string> expected;
  Analyzer alone(Analyzer::MODE_AUDIO);
  for (const std::string& uri : uris) {
    expected.push_back(outcomeOf(alone, uri));
  }
  const std::string present = outcomeOf(alone, "load:0");
  const std::string absent = outcomeOf(alone, "flicker:0");
  ASSERT_NE(present, absent);

  std::atomic<unsigned long> logged{0};
  std::atomic<size_t> wrong{0};
  int number = 0;
  {
    const Meanwhile schemes([&] { changeSchemes(items); });
    const Meanwhile translators(changeTranslators);
    const Meanwhile media([&] { changeMedia(items, number++); });
    const Meanwhile debug([&logged, next = size_t{0}]() mutable { changeDebug(logged, next++); });
    std::vector<std::thread> threads;
    for (size_t thread = 0; thread < threadCount; ++thread) {
      threads.emplace_back([&, thread] {
        Analyzer analyzer(Analyzer::MODE_AUDIO);
        for (size_t i = 0; i < analysesPerThread; ++i) {
          const size_t which = (thread * 7 + i) % uris.size();
          wrong += outcomeOf(analyzer, uris[which]) == expected[which] ? 0 : 1;
          const std::string flickering = outcomeOf(analyzer, "flicker:0");
          wrong += flickering == present || flickering == absent ? 0 : 1;
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    for (const Meanwhile* change : {&schemes, &translators, &media, &debug}) {
      EXPECT_GT(change->count(), 1) << "nothing changed meanwhile";
    }
  }
  obq::setDebugLevel(libraryModule, 0);
  obq::setDebugSink(obq::DebugSink());
  EXPECT_EQ(wrong, 0U);
  EXPECT_GT(logged, 0U);
}

}  // namespace
}  // namespace quorin_test
