#include "probe/table.h"

#include <gtest/gtest.h>

#include "output/display_text.h"
#include "sample_records.h"

namespace quorin_command {
namespace {

std::string table(const Terminal& terminal) {
  return tableHead(terminal) + tableRow(sampleAudio(), terminal) + tableRow(sampleRedirect(), terminal) +
         tableRow(sampleError(), terminal);
}

TEST(Table, HasARowPerItemWithTheNameLast) {
  EXPECT_EQ(table({0, false, true}),
            "KIND        LENGTH     BIT RATE        RATE    CHANNELS       DATA  NAME\n"
            "MP3          10:00    52 kbit/s    44.1 kHz      stereo    3.7 MiB  01 Opening.mp3\n"
            "redirect                                                            http://host/list.m3u → "
            "http://host/song.mp3\n"
            "error                                                               song.mp3\n");
}

TEST(Table, LeavesColumnsOutAtANarrowTerminal) {
  EXPECT_EQ(table({60, false, false}),
            "KIND        LENGTH     BIT RATE  NAME\n"
            "MP3          10:00    52 kbit/s  01 Opening.mp3\n"
            "redirect                         http://host/...ost/song.mp3\n"
            "error                            song.mp3\n");
}

TEST(Table, NeverGrowsWiderThanTheTerminal) {
  Record record = sampleAudio();
  record.name = "A very long name that goes on and on and on, with 日本語 in it, and does not end before here.mp3";
  for (size_t width = 20; width < 200; ++width) {
    std::string row = tableRow(record, {width, false, true});
    row.pop_back();
    EXPECT_LE(displayWidth(row), std::max<size_t>(width, 21)) << width;
  }
}

TEST(Table, ShowsADashForWhatIsNotKnown) {
  Record record = sampleAudio();
  record.audio = AudioRecord();
  EXPECT_EQ(tableRow(record, {0, false, true}),
            "audio            -            -           -           -          -  01 Opening.mp3\n");
}

TEST(Table, EscapesNames) {
  Record record = sampleError();
  record.name = "a\nb\033[31m";
  EXPECT_NE(tableRow(record, {0, false, true}).find("a\\nb\\x1b[31m\n"), std::string::npos);
}

TEST(Table, PaintsARowThatFailed) {
  EXPECT_EQ(tableRow(sampleError(), {0, true, true}).substr(0, 5), "\033[31m");
  EXPECT_EQ(tableRow(sampleAudio(), {0, true, true}).find('\033'), std::string::npos);
}

}  // namespace
}  // namespace quorin_command
