// What an item costs a server, as the server itself counts it.

#include <gtest/gtest.h>

#include "driver/analysis.h"
#include "support/encoded_mp3.h"
#include "support/nginx.h"
#include "unmistakable_adts.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr size_t mostRequests = 3;
constexpr long long mostBytes = 64 * 1024;

constexpr size_t firstRange = 16384;  // bytes

const Sound sound = {44100, 2, 2};
const Sound longSound = {44100, 2, 10};

/// Every format, with and without tags and pictures, by the encoders of this machine.
std::map<std::string, Bytes> encodedItems() {
  const std::string small = noisyPng(105);
  const std::string middle = noisyPng(165);
  const std::string large = noisyPng(920);
  const Options tags = {"--tt", "Opening", "--ta", "Somebody", "--add-id3v2"};
  std::map<std::string, Bytes> items = {
      {"plain.mp3", EncodedMp3::byLame({"-b", "128", "-t"}, sound).bytes()},
      {"tagged.mp3", EncodedMp3::byLame(Options{"-b", "128"} + tags, sound).bytes()},
      {"variable.mp3", EncodedMp3::byLame({"-V", "4"}, longSound).bytes()},
      {"small-cover.mp3", EncodedMp3::byLame({"-b", "128", "--ti", small}, sound).bytes()},
      {"middle-cover.mp3", EncodedMp3::byLame({"-b", "128", "--ti", middle}, sound).bytes()},
      {"large-cover.mp3", EncodedMp3::byLame({"-b", "128", "--ti", large}, sound).bytes()},
      {"plain.aac", repeat(readFile(unmistakableAdts()), 20)},
      {"plain.flac", readFile(flac(wave()))},
      {"small-cover.flac", readFile(flac(wave(), {"--picture=" + small}))},
      {"middle-cover.flac", readFile(flac(wave(), {"--picture=" + middle}))},
      {"large-cover.flac", readFile(flac(wave(), {"--picture=" + large}))},
      {"plain.wav", readFile(wave())},
      {"unrecognised", noise(2000000)},
  };
  for (const auto& [name, bytes] : items) {
    EXPECT_GT(bytes.size(), firstRange) << name << " could not take a second request";
  }
  EXPECT_GT(items["large-cover.mp3"].size(), 1500000U);
  EXPECT_GT(items["large-cover.flac"].size(), 1500000U);
  return items;
}

/// The requests for one item.
std::vector<Nginx::Request> requestsFor(const std::string& name, const std::vector<Nginx::Request>& all) {
  std::vector<Nginx::Request> some;
  for (const Nginx::Request& request : all) {
    if (request.line.find(" /" + name + " ") != std::string::npos) {
      some.push_back(request);
    }
  }
  return some;
}

long long bodyBytesOf(const std::vector<Nginx::Request>& requests) {
  long long bytes = 0;
  for (const Nginx::Request& request : requests) {
    bytes += request.bodyBytes;
  }
  return bytes;
}

TEST(NetworkRequests, OfAnyItemThatCanBeSoughtAreFewAndSmall) {
  Nginx nginx;
  const auto items = encodedItems();
  for (const auto& [name, bytes] : items) {
    nginx.serve(name, bytes);
    const Analysis analysis(nginx.url("/" + name));
    EXPECT_EQ(analysis.status == 0, name != "unrecognised") << name;
  }
  const auto all = nginx.stop();
  for (const auto& [name, bytes] : items) {
    const auto requests = requestsFor(name, all);
    EXPECT_GE(requests.size(), 1U) << name;
    EXPECT_LE(requests.size(), mostRequests) << name;
    EXPECT_EQ(connectionsOf(requests), 1U) << name;
    EXPECT_LE(bodyBytesOf(requests), mostBytes) << name;
    RecordProperty(name, std::to_string(requests.size()) + " " + std::to_string(bodyBytesOf(requests)));
  }
}

TEST(NetworkRequests, OfASmallItemIsOne) {
  Nginx nginx;
  const std::map<std::string, Bytes> items = {{"small.aac", readFile(unmistakableAdts())},
                                              {"small.wav", readFile(wave(8000, 1, {"0.5", "sine", "400"}))},
                                              {"small.flac", head(readFile(flac(wave())), 15000)}};
  for (const auto& [name, bytes] : items) {
    ASSERT_LE(bytes.size(), firstRange) << name;
    nginx.serve(name, bytes);
    EXPECT_EQ(Analysis(nginx.url("/" + name)).status, 0) << name;
  }
  const auto all = nginx.stop();
  for (const auto& [name, bytes] : items) {
    EXPECT_EQ(requestsFor(name, all).size(), 1U) << name;
  }
}

}  // namespace
}  // namespace zu::md::common::quorin
