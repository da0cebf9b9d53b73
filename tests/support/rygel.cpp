#include "support/rygel.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include "support/loopback.h"
#include "support/run_command.h"

namespace quorin_test {

namespace {

constexpr char configuration[] = R"([general]
ipv6=false
enable-transcoding=true
media-engine=librygel-media-engine-gst.so
acl-fallback-policy=true
[GstMediaEngine]
transcoders=lpcm
[MediaExport]
enabled=true
title=test
uris=@DIR@/music
extract-metadata=true
monitor-changes=false
virtual-folders=false
[Tracker]
enabled=false
[Tracker3]
enabled=false
[Playbin]
enabled=false
[MPRIS]
enabled=false
[Ruih]
enabled=false
[External]
enabled=false
)";

constexpr std::chrono::seconds patience(20);

std::string filledIn(std::string text, const std::string& folder) {
  for (size_t at = text.find("@DIR@"); at != std::string::npos; at = text.find("@DIR@")) {
    text.replace(at, 5, folder);
  }
  return text;
}

/// Rygel names an item by the digest of its URI: base64 of 32 characters, which ends in one "=".
std::string itemName(const std::string& uri) {
  const CommandRun run = runCommand({"sh", "-c", "printf %s \"$1\" | md5sum | head -c 32 | base64 -w 0", "sh", uri});
  return run.output.substr(0, run.output.find('=')) + "%3D";
}

}  // namespace

Rygel::Rygel(const Bytes& wave) : port_(freePort()) {
  for (const char* name : {"music", ".config", ".cache"}) {
    folder_.makeFolder(name);
  }
  pcmPath_ = "/MediaExport/i/" + itemName("file://" + folder_.write("music/item.wav", wave)) + "/res/LPCM.lpcm";
  folder_.write(".config/rygel.conf", filledIn(configuration, folder_.path()));
  // It goes without a bus, but would start one of its own without an address.
  process_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{
          "env", "-i", "PATH=/usr/bin:/bin", "HOME=" + folder_.path(), "XDG_RUNTIME_DIR=" + folder_.path(),
          "DBUS_SESSION_BUS_ADDRESS=unix:path=" + (folder_ / "bus"), "rygel", "-n", "lo", "-p", std::to_string(port_)},
      folder_ / "output");
  const auto giveUp = std::chrono::steady_clock::now() + patience;
  while (!servesItem()) {
    if (!process_->running() || std::chrono::steady_clock::now() > giveUp) {
      throw std::runtime_error("the media server did not start");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

bool Rygel::servesItem() const {
  const std::string request = "HEAD " + pcmPath_ + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
  return askServer(port_, request).find(" 200 ") != std::string::npos;
}

}  // namespace quorin_test
