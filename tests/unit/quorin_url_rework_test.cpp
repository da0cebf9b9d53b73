#include "quorin/quorin_url_rework.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
#include <chrono>
#include <deque>
#include <functional>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "support/log_capture.h"

namespace quorin_test {
namespace {

using zu::md::common::quorin::QuorinUrlRework;
using zu::md::common::quorin::UrlTranslator;

using Translation = std::function<int(const std::string&, std::string&)>;

class ScriptedTranslator : public UrlTranslator {
 public:
  explicit ScriptedTranslator(Translation t) : translation(std::move(t)) {}

  int translate(std::string const& url, std::string& translated) override {
    ++calls;
    return translation(url, translated);
  }

  Translation translation;
  std::atomic<int> calls{0};
};

/// Writes `text` and answers with `result`.
Translation answering(int result, const std::string& text) {
  return [=](const std::string&, std::string& translated) {
    translated = text;
    return result;
  };
}

boost::shared_ptr<ScriptedTranslator> makeTranslator(Translation translation) {
  return boost::make_shared<ScriptedTranslator>(std::move(translation));
}

/// Registered while it lives.
class Registered {
 public:
  explicit Registered(boost::shared_ptr<UrlTranslator> translator) : translator_(std::move(translator)) {
    EXPECT_EQ(QuorinUrlRework::getInstance().add(translator_), 0);
  }
  ~Registered() { EXPECT_EQ(QuorinUrlRework::getInstance().remove(translator_), 0); }
  Registered(const Registered&) = delete;
  Registered& operator=(const Registered&) = delete;

 private:
  boost::shared_ptr<UrlTranslator> translator_;
};

/// "RESULT TEXT"; the text was "before".
std::string rework(const std::string& url) {
  std::string reworked = "before";
  const int result = QuorinUrlRework::getInstance().reworkUrl(url, reworked);
  return std::to_string(result) + ' ' + reworked;
}

/// Two translators in the order of their addresses.
struct Pair {
  Pair(Translation lower, Translation higher) {
    if (std::less<void*>()(second.get(), first.get())) {
      std::swap(first, second);
    }
    first->translation = std::move(lower);
    second->translation = std::move(higher);
  }

  boost::shared_ptr<ScriptedTranslator> first = makeTranslator(Translation());   ///< at the lower address
  boost::shared_ptr<ScriptedTranslator> second = makeTranslator(Translation());  ///< at the higher address
};

/// The first call in the process, before any test.
class FirstCall : public testing::Environment {
 public:
  void SetUp() override {
    const LogCapture capture;
    QuorinUrlRework::getInstance();
    log = capture.dump();
  }

  std::string log;
};

auto* const firstCall = dynamic_cast<FirstCall*>(testing::AddGlobalTestEnvironment(new FirstCall));

TEST(QuorinUrlRework, IsOneForTheProcessAndLogsItsMaking) {
  const LogCapture log;
  EXPECT_EQ(&QuorinUrlRework::getInstance(), &QuorinUrlRework::getInstance());
  EXPECT_EQ(log.dump(), "");
  EXPECT_EQ(firstCall->log, "4000 quorin-url-rework.cpp:#:QuorinUrlRework(): called\n");
}

TEST(QuorinUrlRework, WithoutTranslatorNothingIsTranslated) {
  const LogCapture log;
  EXPECT_EQ(rework("svc:1"), "0 before");
  EXPECT_EQ(log.dump(),
            "4000 quorin-url-rework.cpp:#:reworkUrl(): called\n"
            "4000 quorin-url-rework.cpp:#:reworkUrl(): done. not translated. 'svc:1'\n");
}

TEST(QuorinUrlRework, ATranslationIsHandedOut) {
  const auto translator = makeTranslator([](const std::string& url, std::string& translated) {
    EXPECT_EQ(translated, "");
    translated = "http://host/" + url.substr(4);
    return 1;
  });
  const LogCapture log;
  {
    const Registered registered(translator);
    EXPECT_EQ(rework("svc:1"), "1 http://host/1");
  }
  EXPECT_EQ(log.dump(),
            "4000 quorin-url-rework.cpp:#:add(): called\n"
            "4000 quorin-url-rework.cpp:#:reworkUrl(): called\n"
            "4000 quorin-url-rework.cpp:#:reworkUrl(): translated 'svc:1' to 'http://host/1'\n"
            "4000 quorin-url-rework.cpp:#:remove(): called\n");
  EXPECT_EQ(rework("svc:1"), "0 before");
}

TEST(QuorinUrlRework, AnEmptyOrUnchangedTextIsATranslationAllTheSame) {
  {
    const Registered registered(makeTranslator(answering(1, "")));
    EXPECT_EQ(rework("svc:1"), "1 ");
  }
  const Registered registered(makeTranslator(answering(1, "svc:1")));
  EXPECT_EQ(rework("svc:1"), "1 svc:1");
}

TEST(QuorinUrlRework, AFailureIsHandedOutAndTheTextIsNot) {
  const Registered registered(makeTranslator(answering(-5, "scribble")));
  const LogCapture log;
  EXPECT_EQ(rework("svc:1"), "-5 before");
  EXPECT_EQ(log.dump(),
            "4000 quorin-url-rework.cpp:#:reworkUrl(): called\n"
            "3000 quorin-url-rework.cpp:#:reworkUrl(): translate error. ret=-5 'svc:1'\n");
}

TEST(QuorinUrlRework, AnyOtherAnswerPassesTheItemOn) {
  for (const int answer : {0, 2, 1000}) {
    const Registered registered(makeTranslator(answering(answer, "scribble")));
    const LogCapture log;
    EXPECT_EQ(rework("svc:1"), "0 before") << answer;
    EXPECT_EQ(log.dump(),
              "4000 quorin-url-rework.cpp:#:reworkUrl(): called\n"
              "4000 quorin-url-rework.cpp:#:reworkUrl(): done. not translated. 'svc:1'\n");
  }
}

TEST(QuorinUrlRework, TheTranslatorAtTheLowerAddressWinsWhateverTheOrderOfAdding) {
  const Pair pair(answering(1, "lower"), answering(1, "higher"));
  {
    const Registered one(pair.first);
    const Registered two(pair.second);
    EXPECT_EQ(rework("svc:1"), "1 lower");
  }
  const Registered two(pair.second);
  const Registered one(pair.first);
  EXPECT_EQ(rework("svc:1"), "1 lower");
  EXPECT_EQ(pair.second->calls, 0);
}

TEST(QuorinUrlRework, TheNextTranslatorIsAskedWithAnEmptyText) {
  const Pair pair(answering(2, "scribble"), [](const std::string&, std::string& translated) {
    EXPECT_EQ(translated, "");
    translated = "higher";
    return 1;
  });
  const Registered one(pair.first);
  const Registered two(pair.second);
  EXPECT_EQ(rework("svc:1"), "1 higher");
  EXPECT_EQ(pair.first->calls, 1);
}

TEST(QuorinUrlRework, AFailureEndsTheAsking) {
  const Pair pair(answering(-5, ""), answering(1, "higher"));
  const Registered one(pair.first);
  const Registered two(pair.second);
  EXPECT_EQ(rework("svc:1"), "-5 before");
  EXPECT_EQ(pair.second->calls, 0);
}

TEST(QuorinUrlRework, ATranslatorIsRegisteredOnce) {
  QuorinUrlRework& registry = QuorinUrlRework::getInstance();
  const auto translator = makeTranslator(answering(1, "x"));
  EXPECT_EQ(registry.add(translator), 0);
  {
    const LogCapture log;
    EXPECT_EQ(registry.add(translator), -1);
    EXPECT_EQ(log.dump(),
              "4000 quorin-url-rework.cpp:#:add(): called\n"
              "3000 quorin-url-rework.cpp:#:add(): already stored.\n");
  }
  EXPECT_EQ(rework("svc:1"), "1 x");
  EXPECT_EQ(registry.remove(translator), 0);
  EXPECT_EQ(rework("svc:1"), "0 before");
  const LogCapture log;
  EXPECT_EQ(registry.remove(translator), -1);
  EXPECT_EQ(log.dump(),
            "4000 quorin-url-rework.cpp:#:remove(): called\n"
            "3000 quorin-url-rework.cpp:#:remove(): not in store!\n");
}

TEST(QuorinUrlRework, AnEmptyPointerIsRefused) {
  const LogCapture log;
  EXPECT_EQ(QuorinUrlRework::getInstance().add(boost::shared_ptr<UrlTranslator>()), -1);
  EXPECT_EQ(QuorinUrlRework::getInstance().remove(boost::shared_ptr<UrlTranslator>()), -1);
  EXPECT_EQ(log.dump(),
            "4000 quorin-url-rework.cpp:#:add(): called\n"
            "3000 quorin-url-rework.cpp:#:add(): NULL ptr\n"
            "4000 quorin-url-rework.cpp:#:remove(): called\n"
            "3000 quorin-url-rework.cpp:#:remove(): NULL ptr\n");
}

TEST(QuorinUrlRework, KeepsATranslatorAliveUntilItIsRemoved) {
  QuorinUrlRework& registry = QuorinUrlRework::getInstance();
  auto translator = makeTranslator(answering(1, "x"));
  const boost::weak_ptr<ScriptedTranslator> watched = translator;
  const auto* address = translator.get();
  registry.add(translator);
  translator.reset();
  ASSERT_EQ(watched.use_count(), 1);
  EXPECT_EQ(rework("svc:1"), "1 x");
  translator = watched.lock();
  EXPECT_EQ(translator.get(), address);
  registry.remove(translator);
  translator.reset();
  EXPECT_TRUE(watched.expired());
}

TEST(QuorinUrlRework, TheLastReferenceMayGoInsideRemove) {
  QuorinUrlRework& registry = QuorinUrlRework::getInstance();
  auto owner = makeTranslator(answering(1, "x"));
  const boost::weak_ptr<ScriptedTranslator> watched = owner;
  const boost::shared_ptr<UrlTranslator> unowned(boost::shared_ptr<void>(), owner.get());  // same object, no reference
  registry.add(owner);
  owner.reset();
  EXPECT_EQ(registry.remove(unowned), 0);
  EXPECT_TRUE(watched.expired());
}

TEST(QuorinUrlRework, ATranslatorThatThrowsLeavesTheRegistryUsable) {
  const Registered registered(makeTranslator([](const std::string& url, std::string&) -> int {
    if (url == "svc:bad") {
      throw std::runtime_error("no");
    }
    return 0;
  }));
  std::string reworked = "before";
  EXPECT_THROW(QuorinUrlRework::getInstance().reworkUrl("svc:bad", reworked), std::runtime_error);
  EXPECT_EQ(reworked, "before");
  std::thread([] { EXPECT_EQ(rework("svc:good"), "0 before"); }).join();
}

TEST(QuorinUrlRework, OutputMayBeTheInput) {
  const Registered registered(makeTranslator(answering(1, "http://host/")));
  std::string url = "svc:1";
  EXPECT_EQ(QuorinUrlRework::getInstance().reworkUrl(url, url), 1);
  EXPECT_EQ(url, "http://host/");
}

TEST(QuorinUrlRework, AllAreAskedInTheOrderOfTheirAddresses) {
  std::vector<const void*> asked;
  std::vector<boost::shared_ptr<ScriptedTranslator>> translators;
  for (int i = 0; i < 10; ++i) {
    translators.push_back(makeTranslator(Translation()));
    const void* const address = translators.back().get();
    translators.back()->translation = [&asked, address](const std::string&, std::string&) {
      asked.push_back(address);
      return 0;
    };
  }
  std::shuffle(translators.begin(), translators.end(), std::mt19937(5));
  {
    std::deque<Registered> registered;
    for (const auto& translator : translators) {
      registered.emplace_back(translator);
    }
    EXPECT_EQ(rework("svc:1"), "0 before");
  }
  EXPECT_EQ(asked.size(), translators.size());
  EXPECT_TRUE(std::is_sorted(asked.begin(), asked.end(), std::less<const void*>()));
}

TEST(QuorinUrlRework, EveryOperationWaitsForATranslatorAtWork) {
  QuorinUrlRework& registry = QuorinUrlRework::getInstance();
  const auto other = makeTranslator(answering(0, ""));
  const std::function<void()> operations[] = {[&] { EXPECT_EQ(registry.add(other), 0); },
                                              [&] { EXPECT_EQ(registry.remove(other), 0); }, [&] { rework("svc:2"); }};
  for (const auto& operation : operations) {
    std::thread waiting;
    std::atomic<bool> done{false};
    {
      const Registered atWork(makeTranslator([&](const std::string& url, std::string&) {
        if (url == "svc:1") {
          waiting = std::thread([&] {
            operation();
            done = true;
          });
          std::this_thread::sleep_for(std::chrono::milliseconds(20));
          EXPECT_FALSE(done);
        }
        return 0;
      }));
      EXPECT_EQ(rework("svc:1"), "0 before");
      waiting.join();
    }
    EXPECT_TRUE(done);
  }
}

TEST(QuorinUrlRework, ServesManyThreadsOneAtATime) {
  constexpr int threads = 4;
  constexpr int rounds = 300;
  int inside = 0;  // not atomic: the registry's lock is what keeps it whole
  const auto alone = [&inside](const std::string& url, std::string& translated) {
    EXPECT_EQ(++inside, 1);
    translated = "http://host/" + url;
    --inside;
    return 1;
  };
  const auto shared = makeTranslator(alone);
  const Registered registered(shared);
  std::vector<std::thread> workers;
  for (int number = 0; number < threads; ++number) {
    workers.emplace_back([&alone, number] {
      QuorinUrlRework& registry = QuorinUrlRework::getInstance();
      const std::string url = std::to_string(number);
      for (int round = 0; round < rounds; ++round) {
        const auto own = makeTranslator(alone);
        EXPECT_EQ(registry.add(own), 0);
        EXPECT_EQ(rework(url), "1 http://host/" + url);
        EXPECT_EQ(registry.add(own), -1);
        EXPECT_EQ(registry.remove(own), 0);
        EXPECT_EQ(registry.remove(own), -1);
        EXPECT_EQ(rework(url), "1 http://host/" + url);
      }
    });
  }
  for (std::thread& worker : workers) {
    worker.join();
  }
  EXPECT_GT(shared->calls, 0);
}

}  // namespace
}  // namespace quorin_test
