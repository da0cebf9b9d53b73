// How often an analysis allocates: a device analyses thousands of items beside everything else it does.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "counted_allocation.h"
#include "framework/cache_scan.h"
#include "quorin/analyzer.h"
#include "support/adts_builder.h"
#include "support/flac_builder.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"
#include "support/temporary_folder.h"
#include "support/wav_builder.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr unsigned long mostAllocations = 40;
constexpr size_t largeCover = 1500000;

Bytes tagged(const Bytes& frames) { return concat({Id3v2Tag().around(frames), mpegFrames(100), id3v1Tag()}); }

/// False syncs close to each other, so that an analyzer of frames begins again and again.
Bytes falseSyncs(size_t count) { return repeat({0xff, 0xfb, 0x90, 0x00, 1, 2, 3, 4}, count / 8); }

const struct {
  const char* name;
  Bytes bytes;
} items[] = {
    {"plain.mp3", mpegFrames(100)},
    {"tagged.mp3", tagged(id3v2Frame(3, "TIT2", text("Opening")))},
    {"xing.mp3", concat({infoFrame(XingHeader().bytes()), mpegFrames(100)})},
    {"small-cover.mp3", tagged(id3v2Picture(3, noise(20000)))},
    {"large-cover.mp3", tagged(id3v2Picture(3, noise(largeCover)))},
    {"plain.aac", adtsFrames(1000)},
    {"plain.flac", flacFile({flacStreaminfo(), flacPadding(8192)}, 20000)},
    {"large-cover.flac",
     flacFile({flacStreaminfo(), flacPicture({3, "image/png", "cover", noise(largeCover)})}, 20000)},
    {"plain.wav", wavFile(20000)},
    {"text", noise(200000)},
    {"noise", testBytes(200000)},
    {"false-syncs", falseSyncs(200000)},
};

class AllocationCount : public testing::Test {
 protected:
  /// Allocations of an analysis; what only the first one of a process does, is not of interest.
  unsigned long of(const std::string& path) {
    params.uri = path;
    unsigned long before = 0;
    for (int times = 0; times < 2; ++times) {
      boost::shared_ptr<AnalyzeResult> result;
      before = allocations;
      analyzer.analyze(params, result);
    }
    return allocations - before;
  }

  TemporaryFolder folder;
  strell::OpenParams params;
  Analyzer analyzer = Analyzer(Analyzer::MODE_AUDIO);
};

TEST_F(AllocationCount, OfAnAnalysisIsSmall) {
  for (const auto& item : items) {
    const unsigned long count = of(folder.write(item.name, item.bytes));
    RecordProperty(item.name, static_cast<int>(count));
    EXPECT_GT(count, 0U) << item.name;
    EXPECT_LE(count, mostAllocations) << item.name;
  }
}

TEST_F(AllocationCount, OfAScanIsNone) {
  for (const Bytes& bytes : {noise(65536), testBytes(65536)}) {
    SourceScript script;
    script.bytes = bytes;
    strell::Strell strell;
    strell.attach(boost::make_shared<ScriptedSource>(script));
    unsigned char* data = nullptr;
    ASSERT_EQ(strell.readDataCache(65536, data), 0);
    strell.setDataCacheOffset(0);
    constexpr SyncPattern marker = {4, {'f', 'L', 'a', 'C'}, {0xff, 0xff, 0xff, 0xff}};
    const unsigned long before = allocations;
    EXPECT_FALSE(scanForSync(strell, marker, 65000, {"Test", "scan", 0}));
    EXPECT_EQ(allocations, before);
    EXPECT_EQ(strell.getDataCacheOffset(), 65000U);
  }
}

TEST_F(AllocationCount, OfAnUnrecognisedItemDoesNotDependOnItsFalseSyncs) {
  const unsigned long none = of(folder.write("none", noise(200000)));
  const unsigned long many = of(folder.write("many", falseSyncs(200000)));
  EXPECT_LE(many, none + 4) << "as often as the cache grows";
}

}  // namespace
}  // namespace zu::md::common::quorin
