#include "output/json_output.h"

#include <gtest/gtest.h>

#include "sample_records.h"

namespace quorin_command {
namespace {

TEST(JsonOutput, TellsEverythingInTheOrderOfTheRecord) {
  EXPECT_EQ(jsonLine(sampleAudio()),
            R"({"v":1,"uri":"/music/01 Opening.mp3","kind":"audio","code":0,"mime_type":"audio/mpeg",)"
            R"("audio":{"media_type":"mp3","sample_rate":44100,"bit_rate":52000,"channels":2,)"
            R"("duration":{"seconds":600,"microseconds":5000},"frame_size":417,"data_start_offset":1651147,)"
            R"("time_calc_start_offset":1651147,"data_end_offset":5549358,)"
            R"("can_seek":true,"can_set_speed":true,"can_pause":true,"pictures":[{"offset":53,"length":1646592}]},)"
            R"("play_position":1651147,"cost":{"bytes":8397,"reads":3,"requests":0,"elapsed_us":412}})"
            "\n");
}

TEST(JsonOutput, LeavesOutWhatIsNotKnown) {
  Record record;
  record.uri = "/x";
  record.kind = Kind::Audio;
  record.audio = AudioRecord();
  EXPECT_EQ(jsonLine(record),
            R"({"v":1,"uri":"/x","kind":"audio","audio":{"can_seek":false,"can_set_speed":false,"can_pause":false,)"
            R"("pictures":[]},"cost":{"bytes":0,"reads":0,"requests":0,"elapsed_us":0}})"
            "\n");
}

TEST(JsonOutput, TellsTheRedirectsThatWereFollowed) {
  const std::string line = jsonLine(sampleFollowed());
  EXPECT_EQ(line.find(R"({"v":1,"uri":"http://host/song.mp3","kind":"audio",)"), 0);
  EXPECT_NE(line.find(R"(,"via":["http://host/list.asx","http://host/list.m3u"],"play_position":)"), std::string::npos);
  EXPECT_EQ(jsonLine(sampleAudio()).find("via"), std::string::npos);
}

TEST(JsonOutput, TellsARedirect) {
  EXPECT_EQ(jsonLine(sampleRedirect()),
            R"({"v":1,"uri":"http://host/list.m3u","kind":"redirect","code":0,"mime_type":"application/redirect",)"
            R"("redirect":{"content_type":"audio/x-mpegurl","urls":["http://host/song.mp3"]},)"
            R"("cost":{"bytes":100,"reads":1,"requests":1,"elapsed_us":1500}})"
            "\n");
}

TEST(JsonOutput, TellsAnError) {
  EXPECT_EQ(jsonLine(sampleError()), R"({"v":1,"uri":"/music/song.mp3","kind":"error","code":-296,)"
                                     R"("error":{"name":"not_found","message":"no such file or directory"},)"
                                     R"("cost":{"bytes":0,"reads":0,"requests":0,"elapsed_us":0}})"
                                     "\n");
}

TEST(JsonOutput, ANameThatIsNoUtf8TravelsAsBase64) {
  const std::pair<const char*, const char*> names[] = {
      {"/caf\xe9", "L2NhZuk="}, {"/ca\xe9", "L2Nh6Q=="}, {"\xff\xfe\xfd", "//79"}, {"/\xe9", "L+k="}};
  Record record = sampleError();
  for (const auto& [bytes, base64] : names) {
    record.uri = bytes;
    EXPECT_EQ(jsonLine(record).find(std::string("{\"v\":1,\"path_b64\":\"") + base64 + "\",\"kind\""), 0U);
  }
}

TEST(JsonOutput, WhatServersSayNeedNotBeUtf8) {
  Record record = sampleRedirect();
  record.redirect->urls = {"http://h/\xff"};
  record.redirect->contentType = "\xfe";
  EXPECT_NE(jsonLine(record).find("\"urls\":[\"http://h/\ufffd\"]"), std::string::npos);
}

TEST(JsonOutput, ALineHoldsNoLineEndButItsOwn) {
  Record record = sampleError();
  record.uri = "/a\nb";
  EXPECT_EQ(jsonLine(record).find('\n'), jsonLine(record).size() - 1);
}

}  // namespace
}  // namespace quorin_command
