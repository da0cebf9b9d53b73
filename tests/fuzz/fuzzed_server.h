#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace quorin_test {

/// An HTTP server on the loopback for inputs that follow each other by the ten thousand: one thread, one connection at
/// a time, nothing kept. It answers what the script of the moment says, and waits for nobody: a client that asks
/// nothing more for a moment is disconnected.
class FuzzedServer {
 public:
  struct Answer {
    std::string bytes;
    bool close = true;  ///< behind it; else the next request may come on the same connection
  };
  /// Called in the server's thread with the header of a request.
  using Script = std::function<Answer(const std::string& request)>;

  /// @param patience how long a connection is kept for the next request
  explicit FuzzedServer(std::chrono::milliseconds patience);
  ~FuzzedServer();
  FuzzedServer(const FuzzedServer&) = delete;
  FuzzedServer& operator=(const FuzzedServer&) = delete;

  /// From now on.
  void answerBy(Script script);
  std::string url() const;

 private:
  void run();
  bool isEnding();
  void serve(int socket);
  bool takeRequest(int socket, std::string& request) const;

  const std::chrono::milliseconds patience_;
  const int listener_;
  std::mutex mutex_;
  Script script_;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace quorin_test
