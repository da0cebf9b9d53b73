// A process that analyses for days keeps what it takes: no memory and no descriptor is lost, whatever the items are.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "load_items.h"
#include "support/bytes.h"
#include "support/hostile_script.h"
#include "support/mpeg_bytes.h"
#include "support/process_resources.h"
#include "support/range_answers.h"

namespace quorin_test {
namespace {

using zu::md::common::quorin::Analyzer;

/// Seconds on a machine of today; where everything takes ten times as long, fewer.
constexpr size_t analysesNatively = 100000;
constexpr size_t analysesElsewhere = 4000;
constexpr size_t analysesOverHttpNatively = 2000;
constexpr size_t analysesOverHttpElsewhere = 100;

/// Bytes. What malloc keeps in its caches of small blocks changes from round to round; a single byte lost by each
/// analysis, or by each of one item, would be more.
constexpr size_t mostHeapGrowth = 4096;
/// The same where the threads of servers come and go, each with caches of its own.
constexpr size_t mostHeapGrowthWithServers = size_t{24} * 1024;
/// Bytes. Pages of the heap come and go; 32 bytes lost by each analysis would be more.
constexpr size_t mostResidentGrowth = size_t{1024} * 1024;

struct Resources {
  size_t heap = heapInUse();
  size_t resident = residentMemory();
  size_t descriptors = openDescriptors();
};

/// Does the same for so many rounds, and holds what the process takes then against what it took after a quarter.
void expectNoGrowth(size_t rounds, const std::function<void()>& round, size_t heapGrowth = mostHeapGrowth) {
  for (size_t i = 0; i < rounds / 4; ++i) {
    round();
  }
  const Resources early;
  for (size_t i = rounds / 4; i < rounds; ++i) {
    round();
  }
  const Resources late;
  EXPECT_LE(late.heap, early.heap + heapGrowth);
  EXPECT_EQ(late.descriptors, early.descriptors);
  if (runsNatively()) {
    EXPECT_LE(late.resident, early.resident + mostResidentGrowth);
  }
  testing::Test::RecordProperty("heap", std::to_string(early.heap) + " " + std::to_string(late.heap));
  testing::Test::RecordProperty("resident", std::to_string(early.resident) + " " + std::to_string(late.resident));
}

TEST(ManyAnalyses, TakeNoMoreThanFew) {
  const LoadItems items;
  Analyzer analyzer(Analyzer::MODE_AUDIO);
  std::vector<std::string> expected;
  for (const std::string& uri : items.uris()) {
    expected.push_back(outcomeOf(analyzer, uri));
  }
  const size_t analyses = runsNatively() ? analysesNatively : analysesElsewhere;
  size_t wrong = 0;
  expectNoGrowth(analyses / items.uris().size() + 1, [&] {
    for (size_t i = 0; i < expected.size(); ++i) {
      wrong += outcomeOf(analyzer, items.uris()[i]) == expected[i] ? 0 : 1;
    }
  });
  EXPECT_EQ(wrong, 0U);
}

TEST(ManyAnalyses, EachByAnAnalyzerOfItsOwnTakeNoMoreThanFew) {
  const LoadItems items;
  const size_t analyses = runsNatively() ? analysesNatively / 10 : analysesElsewhere / 4;
  expectNoGrowth(analyses / items.uris().size() + 4, [&] {
    for (const std::string& uri : items.uris()) {
      Analyzer analyzer(Analyzer::MODE_AUDIO);
      outcomeOf(analyzer, uri);
    }
  });
}

/// Each kind of harm at each stage, and an item that comes whole.
std::vector<RawServer::Script> hostileScripts(const std::string& item) {
  std::vector<RawServer::Script> scripts = {[item](RawConnection& connection, const std::string& request, int) {
    return connection.send(part(request, item));
  }};
  const std::string flood = textOf(repeat(text("HTTP/1.1 100 Continue\r\n\r\n"), 1000));
  for (const HostileStage& stage : hostileStages()) {
    scripts.push_back(harming(stage, item, [](RawConnection& connection) { connection.reset(); }));
    scripts.push_back(harming(stage, item, [](RawConnection&) {}));
    scripts.push_back(harming(stage, item, [flood](RawConnection& connection) {
      while (connection.send(flood)) {
      }
    }));
  }
  return scripts;
}

TEST(ManyAnalyses, OverHttpTakeNoMoreThanFew) {
  const auto scripts = hostileScripts(textOf(mpegFrames(100)));
  Analyzer analyzer(Analyzer::MODE_AUDIO);
  const size_t analyses = runsNatively() ? analysesOverHttpNatively : analysesOverHttpElsewhere;
  expectNoGrowth(
      analyses / scripts.size() + 4,
      [&] {
        for (const RawServer::Script& script : scripts) {
          const RawServer server(script);
          outcomeOf(analyzer, server.url());
          EXPECT_GT(server.connections(), 0);
        }
      },
      mostHeapGrowthWithServers);
}

}  // namespace
}  // namespace quorin_test
