#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "support/child_process.h"
#include "support/scripted_source.h"
#include "support/temporary_folder.h"

namespace quorin_test {

/// A real internet radio on the loopback: Icecast with one station that plays `bytes` over and over.
class Icecast {
 public:
  static constexpr int metadataInterval = 1024;

  /// How often the response says "icy-br: 128".
  enum Bitrate { UNSAID, SAID_ONCE, SAID_TWICE };

  explicit Icecast(const Bytes& bytes, const std::string& contentType = "audio/mpeg", Bitrate bitrate = SAID_ONCE);
  ~Icecast();

  std::string url() const;
  /// Sets what is said to be playing.
  void setTitle(const std::string& title) const;

 private:
  std::string request(const std::string& method, const std::string& path, const std::string& extraLines) const;
  void start(const std::string& hello, const Bytes& bytes);
  void stop();
  void feed(const std::string& hello, const Bytes& bytes);
  bool plays() const;

  TemporaryFolder folder_;
  uint16_t port_ = 0;
  std::unique_ptr<ChildProcess> process_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool ending_ = false;
  std::thread feeder_;
};

}  // namespace quorin_test
