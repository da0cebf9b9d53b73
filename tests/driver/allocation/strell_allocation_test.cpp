// Media access whose memory ends: what an operation could not do, it does when it is asked again.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <functional>
#include <new>

#include "counted_allocation.h"
#include "strell/strell.h"
#include "support/bytes.h"
#include "support/icy_stream.h"
#include "support/scripted_source.h"
#include "support/temporary_folder.h"

namespace quorin_test {
namespace {

using zu::md::common::strell::IcyData;
using zu::md::common::strell::Strell;

constexpr size_t mostSeen = 1 << 20;  // bytes

/// Uses a source in every way, and once more in that way in which memory ended.
class User {
 public:
  using Open = std::function<int(boost::shared_ptr<MdchUrlBase>&)>;

  User() {
    seen.reserve(mostSeen);
    titles.reserve(mostSeen);
  }

  void use(const Open& open) {
    boost::shared_ptr<MdchUrlBase> url;
    see("open", attempt([&] { return open(url); }));
    Strell strell;
    see("attach", attempt([&] { return strell.attach(url); }));
    look(strell, 0, 5000);
    play(strell, 10000);
    play(strell, 15000);
    const int sought = attempt([&] { return strell.seek(80000); });
    see("seek", sought);
    if (sought == 0) {  // else what was played without memory for the cache cannot be looked at any more
      look(strell, 80000, 9000);
      look(strell, 30000, 9000);
    }
    play(strell, 15000);
    play(strell, 15000);
    see("header", attempt([&] { return strell.getHeaderList(lines_); }));
    for (const std::string& line : lines_) {
      seen += line;
    }
    lines_.clear();
  }

  std::string seen;    ///< every answer and every byte
  std::string titles;  ///< of a radio

 private:
  template <typename Operation>
  static int attempt(Operation operation) {
    try {
      return operation();
    } catch (const std::bad_alloc&) {
      allocationsLeft = never;
      return operation();
    }
  }

  void look(Strell& strell, unsigned int from, unsigned int length) {
    see("move", attempt([&] { return strell.setDataCacheOffset(from); }));
    unsigned char* data = nullptr;
    const int status = attempt([&] { return strell.readDataCache(length, data); });
    see("look", status);
    seen.append(reinterpret_cast<char*>(data), status == 0 ? length : 0);
  }

  /// What is delivered before memory ends counts too.
  void play(Strell& strell, unsigned int length) {
    int status = 0;
    for (unsigned int played = 0, got = 0; played < length && status == 0; played += got) {
      status = playSome(strell, length - played, got);
    }
    see("play", status);
    for (const IcyData& data : icy_) {
      titles.append(data.text);
    }
    std::vector<IcyData>().swap(icy_);
  }

  int playSome(Strell& strell, unsigned int length, unsigned int& got) {
    int status = 0;
    try {
      status = strell.readData(buffer_, length, got, icy_);
    } catch (const std::bad_alloc&) {
      allocationsLeft = never;
    }
    seen.append(reinterpret_cast<char*>(buffer_), got);
    return status;
  }

  void see(const char* operation, int status) {
    char text[64];
    seen.append(text, static_cast<size_t>(std::snprintf(text, sizeof text, "%s %d ", operation, status)));
  }

  unsigned char buffer_[15000] = {};
  std::vector<IcyData> icy_;
  std::deque<std::string> lines_;
};

/// @param prepare gives what opens the item
void expectEveryFailureIsMadeUpFor(const std::function<User::Open()>& prepare) {
  User expected;
  expected.use(prepare());
  int succeeding = 0;
  for (unsigned long failures = 1; failures > 0; ++succeeding) {
    ASSERT_LT(succeeding, 1000);
    User user;
    const User::Open open = prepare();
    const long live = liveAllocations;
    const unsigned long failed = failedAllocations;
    allocationsLeft = succeeding;
    user.use(open);
    allocationsLeft = never;
    failures = failedAllocations - failed;
    ASSERT_EQ(liveAllocations, live) << "leaked behind allocation " << succeeding;
    ASSERT_TRUE(user.seen == expected.seen) << "behind allocation " << succeeding;
    ASSERT_NE(expected.titles.find(user.titles), std::string::npos) << "a title may be missed, but is never another";
  }
  EXPECT_GT(succeeding, 5);
}

TEST(StrellAllocation, OfAFileThatFailsIsMadeUpFor) {
  const TemporaryFolder folder;
  const std::string path = folder.write("item", testBytes(100000));
  expectEveryFailureIsMadeUpFor([&] {
    return [&](boost::shared_ptr<MdchUrlBase>& url) { return mdch_OpenUrl(path.c_str(), 0, MdchOpenParams(), url); };
  });
}

TEST(StrellAllocation, OfARadioThatFailsIsMadeUpFor) {
  SourceScript script;
  const std::string title(100, 't');  // longer than what a string holds by itself
  script.bytes = icyStream(testBytes(100000), 4000, {"StreamTitle='" + title + "';", "", "StreamTitle='Two';"});
  script.seekable = false;
  script.sizeKnown = false;
  expectEveryFailureIsMadeUpFor([&] {
    const auto source = boost::make_shared<ScriptedHttpSource>(
        script, std::deque<std::string>{"HTTP/1.1 200 OK\r\n", "icy-metaint: 4000\r\n"});
    source->source.calls.reserve(1000);
    return [source](boost::shared_ptr<MdchUrlBase>& url) {
      url = source;
      return 0;
    };
  });
}

}  // namespace
}  // namespace quorin_test
