#include "probe/card.h"

#include <gtest/gtest.h>

#include "sample_records.h"

namespace quorin_command {
namespace {

const Terminal anyWidth = {0, false, true};

TEST(Card, TellsAllAboutAnAudioStream) {
  EXPECT_EQ(card(sampleAudio(), anyWidth),
            "01 Opening.mp3\n"
            "  audio     MP3, 44.1 kHz, stereo, 52 kbit/s, 10:00\n"
            "  data      1 651 147 to 5 549 358 (3.7 MiB), time counted from 1 651 147\n"
            "  pictures  1: 1.6 MiB at 53\n"
            "  player    can seek, pause, change speed; plays on from 1 651 147\n"
            "  cost      8.2 KiB in 3 reads, 0.4 ms\n");
}

TEST(Card, WrapsBetweenPhrasesAtANarrowTerminal) {
  EXPECT_EQ(card(sampleAudio(), {44, false, true}),
            "01 Opening.mp3\n"
            "  audio     MP3, 44.1 kHz, stereo,\n"
            "            52 kbit/s, 10:00\n"
            "  data      1 651 147 to 5 549 358 (3.7 MiB),\n"
            "            time counted from 1 651 147\n"
            "  pictures  1: 1.6 MiB at 53\n"
            "  player    can seek, pause, change speed;\n"
            "            plays on from 1 651 147\n"
            "  cost      8.2 KiB in 3 reads, 0.4 ms\n");
}

TEST(Card, SaysWhatIsNotKnown) {
  Record record;
  record.name = "http://host/live";
  record.kind = Kind::Audio;
  record.audio = AudioRecord();
  record.audio->mediaType = library::MEDIA_TYPE_AAC_MPEG4;
  record.audio->dataStart = 0;
  record.playPosition = 0;
  record.cost = {1, 1, 1};
  EXPECT_EQ(card(record, anyWidth),
            "http://host/live\n"
            "  audio     AAC (MPEG-4), length not known\n"
            "  data      from 0 on\n"
            "  player    can only play straight on; plays on from 0\n"
            "  cost      1 byte in 1 read, 1 request, 0.0 ms\n");
}

TEST(Card, ListsEveryPicture) {
  Record record = sampleAudio();
  record.audio->pictures.push_back({1700000, 512});
  EXPECT_NE(card(record, anyWidth).find("  pictures  2: 1.6 MiB at 53, 512 bytes at 1 700 000\n"), std::string::npos);
}

TEST(Card, ShowsTheRedirectsThatWereFollowed) {
  const std::string text = card(sampleFollowed(), anyWidth);
  EXPECT_EQ(text.find("http://host/list.asx\n  followed  to http://host/list.m3u, to http://host/song.mp3\n  audio "),
            0);
}

TEST(Card, ShowsARelativeTargetAsItIsMeant) {
  Record record = sampleRedirect();
  record.redirect->urls = {"song.mp3"};
  EXPECT_NE(card(record, anyWidth).find("  redirect  to http://host/song.mp3\n"), std::string::npos);
}

TEST(Card, ShowsWhereARedirectLeads) {
  EXPECT_EQ(card(sampleRedirect(), anyWidth),
            "http://host/list.m3u\n"
            "  redirect  to http://host/song.mp3\n"
            "  type      audio/x-mpegurl\n"
            "  cost      100 bytes in 1 read, 1 request, 1.5 ms\n");
}

TEST(Card, KeepsATargetWholeAtANarrowTerminal) {
  EXPECT_NE(card(sampleRedirect(), {20, false, true}).find("to http://host/song.mp3\n"), std::string::npos);
}

TEST(Card, EscapesWhatATargetSays) {
  Record record = sampleRedirect();
  record.redirect->urls = {"http://h/\033]0;x\a"};
  EXPECT_NE(card(record, anyWidth).find("to http://h/\\x1b]0;x\\x07\n"), std::string::npos);
}

TEST(Card, KnowsAFolder) {
  Record record;
  record.name = "/music";
  record.kind = Kind::Folder;
  EXPECT_EQ(card(record, anyWidth),
            "/music\n"
            "  folder    a folder; 'quorin scan' analyses what is in it\n"
            "  cost      0 bytes in 0 reads, 0.0 ms\n");
}

TEST(Card, CutsANameThatIsWiderThanTheTerminal) {
  Record record = sampleError();
  record.name = "A very long name that does not fit.mp3";
  EXPECT_EQ(card(record, {20, false, true}).substr(0, 23), "A very lo…ot fit.mp3\n");
  EXPECT_EQ(card(record, {20, false, false}).substr(0, 21), "A very l...t fit.mp3\n");
}

TEST(Card, PaintsTheNameAndTheLabels) {
  const std::string text = card(sampleRedirect(), {0, true, true});
  EXPECT_EQ(text.substr(0, text.find('\n')), "\033[1mhttp://host/list.m3u\033[0m");
  EXPECT_NE(text.find("\033[2mredirect  \033[0mto "), std::string::npos);
}

}  // namespace
}  // namespace quorin_command
