#include "scan/scan_pool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <boost/make_shared.hpp>
#include <future>
#include <stdexcept>
#include <system_error>

#include "item/source_watch.h"

namespace quorin_command {
namespace {

using testing::ElementsAreArray;

/// Generous: how long a test that goes wrong may wait.
constexpr std::chrono::seconds timeLimit(30);

/// How many sources of each host are open, now and at most.
class OpenSources {
 public:
  void opened(const std::string& host) {
    const std::lock_guard<std::mutex> lock(mutex_);
    most_[host] = std::max(most_[host], ++now_[host]);
  }
  void closed(const std::string& host) {
    const std::lock_guard<std::mutex> lock(mutex_);
    --now_[host];
  }
  int most(const std::string& host) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return most_[host];
  }

 private:
  std::mutex mutex_;
  std::map<std::string, int> now_;
  std::map<std::string, int> most_;
};

/// What a server answers: a redirect, or an endless stream of nothing that is known.
class Answer : public md::HttpAccess {
 public:
  Answer(OpenSources& open, std::string host, std::string target)
      : open_(open), host_(std::move(host)), target_(std::move(target)) {
    open_.opened(host_);
  }
  ~Answer() override { open_.closed(host_); }
  Answer(const Answer&) = delete;
  Answer& operator=(const Answer&) = delete;

  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    bytesRead = std::min(length, 100U);
    std::fill_n(buffer, bytesRead, static_cast<unsigned char>(0));
    left_ -= std::min(left_, bytesRead);
    bytesRead = left_ == 0 ? 0 : bytesRead;
    return 0;
  }
  int seek(long long /*offset*/) override { return -29; }
  int tell(long long& /*offset*/) override { return -38; }
  int size(long long& /*bytes*/) override { return -38; }
  int getSeekable(bool& seekable) override {
    seekable = false;
    return 0;
  }
  int getHeaderList(std::deque<std::string>& lines) override {
    lines = {target_.empty() ? "HTTP/1.1 200 OK\r\n" : "HTTP/1.1 302 Found\r\n"};
    if (!target_.empty()) {
      lines.push_back("Location: " + target_ + "\r\n");
    }
    return 0;
  }

 private:
  OpenSources& open_;
  const std::string host_;
  const std::string target_;
  unsigned int left_ = 1000;
};

/// Takes the place of the network. "http://HOST/to/URI" redirects to the URI, anything else is a stream.
class Network {
 public:
  Network() {
    md::registerUrlScheme("http",
                          [this](const std::string& uri, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
                            const size_t begin = std::string("http://").size();
                            const std::string host = uri.substr(begin, uri.find('/', begin) - begin);
                            const size_t to = uri.find("/to/");
                            const std::string target = to == std::string::npos ? "" : uri.substr(to + 4);
                            if (onOpen) {
                              onOpen(host);
                            }
                            url = boost::make_shared<Answer>(sources, host, target);
                            return target.empty() ? 0 : 154;
                          });
    watchSources();
  }
  ~Network() { md::registerUrlScheme("http", md::UrlOpener()); }
  Network(const Network&) = delete;
  Network& operator=(const Network&) = delete;

  OpenSources sources;
  std::function<void(const std::string& host)> onOpen;
};

Options optionsOf(unsigned int workers) {
  Options options;
  options.workers = workers;
  return options;
}

FoundItem item(const std::string& name) { return {name, std::nullopt, std::nullopt}; }

/// An item that needs no analysis.
FoundItem brokenItem(const std::string& name) { return {name, std::nullopt, ItemError{"io_error", "broken"}}; }

ScanPool::Find findOf(std::vector<FoundItem> items) {
  return [items = std::move(items), next = size_t{0}](FoundItem& found, const auto& /*beforeWaiting*/) mutable {
    const bool isThere = next < items.size();
    found = isThere ? items[next++] : FoundItem();
    return isThere;
  };
}

std::string nameOf(const Record& record) { return record.name; }

/// What a pool tells.
class Told {
 public:
  ScanPool::Tell tell() {
    return [this](const std::vector<JobPtr>& jobs) {
      const std::lock_guard<std::mutex> lock(mutex_);
      EXPECT_FALSE(jobs.empty());
      for (const JobPtr& job : jobs) {
        texts_.push_back(job->text);
      }
      changed_.notify_one();
    };
  }

  /// Waits until there is so much, and takes it.
  std::vector<std::string> take(size_t enough) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, timeLimit, [&] { return texts_.size() >= enough; });
    return std::exchange(texts_, {});
  }

  /// Waits until there will be no more, and takes it.
  std::vector<std::string> takeAll(ScanPool& pool) {
    const auto deadline = std::chrono::steady_clock::now() + timeLimit;
    while (std::chrono::steady_clock::now() < deadline && pool.wait(std::chrono::milliseconds(100))) {
    }
    return take(0);
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> texts_;
};

/// Starts so many threads and no more.
ScanPool::StartThread atMost(int threads) {
  return [left = std::make_shared<std::atomic<int>>(threads)](std::function<void()> work) {
    if ((*left)-- <= 0) {
      throw std::system_error(EAGAIN, std::generic_category());
    }
    return startInBackground(std::move(work));
  };
}

std::vector<std::string> numbered(const std::string& prefix, int count) {
  std::vector<std::string> names;
  for (int number = 0; number < count; ++number) {
    names.push_back(prefix + std::to_string(number));
  }
  return names;
}

std::vector<FoundItem> itemsOf(const std::vector<std::string>& names, FoundItem (*make)(const std::string&)) {
  std::vector<FoundItem> items;
  std::transform(names.begin(), names.end(), std::back_inserter(items), make);
  return items;
}

TEST(ScanPool, NoHostHasMoreThanFourConnectionsBeItNamedOrRedirectedTo) {
  Network network;
  Options options = optionsOf(16);
  options.follow = 2;
  options.ordered = true;
  std::vector<std::string> names;
  for (int number = 0; number < 30; ++number) {
    const std::string host = "http://from" + std::to_string(number % 3);
    names.push_back(host + "/to/http://behind/" + std::to_string(number));
    names.push_back(host + "/stream/" + std::to_string(number));
    names.push_back("http://behind/to/" + host + "/back/" + std::to_string(number));
  }
  Told told;
  ScanPool pool(options, findOf(itemsOf(names, item)), nameOf, told.tell());
  EXPECT_THAT(told.takeAll(pool), ElementsAreArray(names));
  for (const char* const host : {"from0", "from1", "from2", "behind"}) {
    EXPECT_LE(network.sources.most(host), 4) << host;
  }
  EXPECT_EQ(network.sources.most("behind"), 4);
}

TEST(ScanPool, ASlowHostKeepsNothingLocalWaiting) {
  std::mutex mutex;
  std::condition_variable changed;
  bool isSlow = true;
  Network network;
  network.onOpen = [&](const std::string& /*host*/) {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait_for(lock, 2 * timeLimit, [&] { return !isSlow; });
  };
  std::vector<FoundItem> items = itemsOf(numbered("http://slow/", 100), item);
  const std::vector<std::string> local = numbered("/local/", 50);
  for (const std::string& name : local) {
    items.push_back(brokenItem(name));
  }
  Told told;
  ScanPool pool(optionsOf(2), findOf(items), nameOf, told.tell());
  EXPECT_THAT(told.take(local.size()), ElementsAreArray(local));
  {
    const std::lock_guard<std::mutex> lock(mutex);
    isSlow = false;
  }
  changed.notify_all();
  EXPECT_EQ(told.takeAll(pool).size(), 100U);
}

TEST(ScanPool, WhatIsUnderWayIsBounded) {
  std::promise<void> isRead;
  const std::shared_future<void> mayGoOn = isRead.get_future().share();
  std::atomic<uint64_t> found{0};
  std::atomic<uint64_t> told{0};
  ScanPool pool(
      optionsOf(2),
      [&found](FoundItem& next, const auto& /*beforeWaiting*/) {
        next = brokenItem("/x");
        return ++found <= 3 * ScanPool::mostUnderWay;
      },
      nameOf,
      [&told, mayGoOn](const std::vector<JobPtr>& jobs) {
        mayGoOn.wait_for(timeLimit);
        told += jobs.size();
      });
  const auto deadline = std::chrono::steady_clock::now() + timeLimit / 2;
  while (found < ScanPool::mostUnderWay && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_GE(found, ScanPool::mostUnderWay);
  EXPECT_LE(found, ScanPool::mostUnderWay + Agenda::mostTogether);
  isRead.set_value();
  while (pool.wait(timeLimit)) {
  }
  EXPECT_EQ(told, 3 * ScanPool::mostUnderWay);
}

TEST(ScanPool, WhoTellsKeepsNoOtherWorkerWaiting) {
  std::promise<void> isDone;
  Told told;
  std::atomic<int> formatted{0};
  const auto format = [&](const Record& record) {
    if (++formatted == 1000 - static_cast<int>(Agenda::mostTogether)) {  // the others may be those of who tells
      isDone.set_value();
    }
    return record.name;
  };
  const std::shared_future<void> others = isDone.get_future().share();
  const auto tell = [&, others](const std::vector<JobPtr>& jobs) {
    EXPECT_EQ(others.wait_for(timeLimit), std::future_status::ready);
    told.tell()(jobs);
  };
  ScanPool pool(optionsOf(2), findOf(itemsOf(numbered("/", 1000), brokenItem)), format, tell);
  EXPECT_EQ(told.takeAll(pool).size(), 1000U);
}

TEST(ScanPool, AnExceptionOfWhoIsToldEndsTheScan) {
  ScanPool pool(optionsOf(3), findOf(itemsOf(numbered("/", 10000), brokenItem)), nameOf,
                [](const std::vector<JobPtr>& /*jobs*/) { throw std::bad_alloc(); });
  EXPECT_THROW(while (pool.wait(timeLimit)){}, std::bad_alloc);
}

TEST(ScanPool, WhatWasFoundIsLookedAtBeforeTheFinderWaits) {
  std::promise<void> isDone;
  Told told;
  ScanPool pool(
      optionsOf(1),
      [&, n = 0](FoundItem& found, const auto& beforeWaiting) mutable {
        found = brokenItem("/x");
        if (++n == 3) {
          beforeWaiting();
          EXPECT_EQ(isDone.get_future().wait_for(timeLimit), std::future_status::ready);
        }
        return n < 3;
      },
      nameOf, told.tell());
  EXPECT_EQ(told.take(2).size(), 2U);
  isDone.set_value();
  EXPECT_EQ(told.takeAll(pool).size(), 0U);
}

TEST(ScanPool, AnExceptionOfAWorkerEndsTheScan) {
  Told told;
  const auto format = [](const Record& record) {
    return record.name == "/5000" ? throw std::runtime_error("no more") : record.name;
  };
  ScanPool pool(optionsOf(3), findOf(itemsOf(numbered("/", 10000), brokenItem)), format, told.tell());
  EXPECT_THROW(told.takeAll(pool), std::runtime_error);
}

TEST(ScanPool, AnExceptionWhileItemsAreFoundEndsTheScan) {
  Told told;
  ScanPool pool(
      optionsOf(1),
      [n = 0](FoundItem& found, const auto& /*beforeWaiting*/) mutable {
        found = brokenItem("/x");
        return ++n < 100 ? true : throw std::bad_alloc();
      },
      nameOf, told.tell());
  EXPECT_THROW(told.takeAll(pool), std::bad_alloc);
}

TEST(ScanPool, WithFewerThreadsThanAskedForItTakesLonger) {
  const std::vector<std::string> names = numbered("/", 1000);
  for (const int threads : {2, 3, 9}) {
    Options options = optionsOf(8);
    options.ordered = true;
    Told told;
    ScanPool pool(options, findOf(itemsOf(names, brokenItem)), nameOf, told.tell(), atMost(threads));
    EXPECT_THAT(told.takeAll(pool), ElementsAreArray(names)) << threads;
  }
}

TEST(ScanPool, WithoutThreadsThereIsAClearMessage) {
  for (const int threads : {0, 1}) {
    Told told;
    try {
      const ScanPool pool(optionsOf(8), findOf({}), nameOf, told.tell(), atMost(threads));
      FAIL() << threads;
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "no thread can be started: resource temporarily unavailable");
    }
  }
}

}  // namespace
}  // namespace quorin_command
