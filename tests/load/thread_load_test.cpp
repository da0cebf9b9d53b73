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

/// What one thread finds, and whether others find the same.
class Truth {
 public:
  explicit Truth(const LoadItems& items) : uris_(urisOf(items)) {
    Analyzer alone(Analyzer::MODE_AUDIO);
    for (const std::string& uri : uris_) {
      outcomes_.push_back(outcomeOf(alone, uri));
    }
    present_ = outcomeOf(alone, "load:0");
    absent_ = outcomeOf(alone, "flicker:0");
    EXPECT_NE(present_, absent_);
  }

  bool isFoundBy(Analyzer& analyzer, size_t number) const {
    const size_t which = number % uris_.size();
    const bool same = outcomeOf(analyzer, uris_[which]) == outcomes_[which];
    const std::string flickering = outcomeOf(analyzer, "flicker:0");
    return same && (flickering == present_ || flickering == absent_);
  }

 private:
  std::vector<std::string> uris_;
  std::vector<std::string> outcomes_;
  std::string present_;
  std::string absent_;
};

/// How often any of many threads finds something else.
size_t errorsOfManyThreads(const Truth& truth) {
  std::atomic<size_t> errors{0};
  std::vector<std::thread> threads;
  for (size_t thread = 0; thread < threadCount; ++thread) {
    threads.emplace_back([&truth, &errors, thread] {
      Analyzer analyzer(Analyzer::MODE_AUDIO);
      for (size_t i = 0; i < analysesPerThread; ++i) {
        errors += truth.isFoundBy(analyzer, thread * 7 + i) ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  return errors;
}

TEST(ThreadLoad, AnalysesAreTheSameWhileWhatTheyShareChanges) {
  const LoadItems items;
  vdir2MediaRegister("LOAD-CARD", items.folder().path().c_str());
  const Truth truth(items);
  std::atomic<unsigned long> logged{0};
  {
    const Meanwhile schemes([&] { changeSchemes(items); });
    const Meanwhile translators(changeTranslators);
    const Meanwhile media([&items, next = 0]() mutable { changeMedia(items, next++); });
    const Meanwhile debug([&logged, next = size_t{0}]() mutable { changeDebug(logged, next++); });
    EXPECT_EQ(errorsOfManyThreads(truth), 0U);
    for (const Meanwhile* change : {&schemes, &translators, &media, &debug}) {
      EXPECT_GT(change->count(), 1) << "nothing changed meanwhile";
    }
  }
  obq::setDebugLevel(libraryModule, 0);
  obq::setDebugSink(obq::DebugSink());
  EXPECT_GT(logged, 0U);
}

}  // namespace
}  // namespace quorin_test
