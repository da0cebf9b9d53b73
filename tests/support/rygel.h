#pragma once

#include <memory>
#include <string>

#include "support/child_process.h"
#include "support/scripted_source.h"
#include "support/temporary_folder.h"

namespace quorin_test {

/// A real DLNA media server on the loopback: Rygel with one WAV file, which it also serves as raw PCM. It announces
/// itself by multicast, so it is to be run only where `onlyLoopback`.
class Rygel {
 public:
  explicit Rygel(const Bytes& wave);

  /// The item as "audio/L16": transcoded while it is sent, without a length; a request for a range gets 406.
  std::string pcmUrl() const { return "http://127.0.0.1:" + std::to_string(port_) + pcmPath_; }

 private:
  bool servesItem() const;

  TemporaryFolder folder_;
  uint16_t port_;
  std::string pcmPath_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace quorin_test
