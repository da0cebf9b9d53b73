// Whole analyses of what this platform holds.

#include <gtest/gtest.h>

#include "driver/folder_answer.h"
#include "items.h"
#include "support/bytes.h"
#include "support/mpeg_bytes.h"
#include "vdir2.h"

namespace quorin_test {
namespace {

class MemoryItem : public testing::Test {
 protected:
  MemoryItem() {
    memory_platform::put("memory:song", mpegFrames(60));
    memory_platform::put("/stick/Album/song.mp3", mpegFrames(60));
    memory_platform::put("/secret", mpegFrames(60));
    EXPECT_GE(vdir2MediaRegister("0123-ABCD", "/stick"), 0);
  }
  ~MemoryItem() override { memory_platform::clear(); }
};

TEST_F(MemoryItem, IsAnalysedByItsUri) {
  for (const char* uri : {"memory:song", "vdr2://0123-abcd/Album/song.mp3"}) {
    EXPECT_EQ(Analysis(uri).value("sampling_frequency"), "44100") << uri;
  }
}

TEST_F(MemoryItem, WhatIsNotThereFailsAsEverywhere) {
  for (const char* uri : {"memory:other", "vdr2://0123-ABCD/Album/other.mp3", "vdr2://4567-ABCD/song.mp3",
                          "vdr2://0123-ABCD/../secret", "vdr2://0123-ABCD//secret"}) {
    const Analysis analysis(uri);
    EXPECT_EQ(analysis.status, Analysis("memory:nothing").status) << uri;
    EXPECT_FALSE(analysis.result->strell) << uri;
  }
}

TEST_F(MemoryItem, OfAMediumItsFoldersAreAnsweredWithoutOpening) {
  for (const char* uri : {"vdr2://0123-ABCD/", "VDR2://0123-abcd/Album", "vdr2://0123-ABCD/Album/"}) {
    expectFolder(uri);
  }
  for (const char* uri : {"vdr2://0123-ABCD/Album/song.mp3", "vdr2://0123-ABCD/..", "vdr2://0123-ABCD/Alb"}) {
    expectNoFolder(uri);
  }
}

TEST_F(MemoryItem, HandlesOfDirectoriesAreGoodOnce) {
  const int medium = vdir2MediaIDGetByUUID("0123-abcd");
  const int handle = vdir2DirOpen(medium, "Album", 0);
  ASSERT_GE(handle, 0);
  EXPECT_EQ(vdir2DirClose(handle, 0), 0);
  EXPECT_LT(vdir2DirClose(handle, 0), 0);
  EXPECT_LT(vdir2DirOpen(medium + 1, "Album", 0), 0);
}

}  // namespace
}  // namespace quorin_test
