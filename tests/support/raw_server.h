#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace quorin_test {

class RawServer;

/// One connection of a RawServer, as its script sees it.
class RawConnection {
 public:
  RawConnection(RawServer& server, int socket) : server_(server), socket_(socket) {}

  /// Sends these very bytes; false when the client is gone or the server ends.
  bool send(std::string_view bytes) const;
  /// Sends them one at a time.
  bool trickle(std::string_view bytes, std::chrono::milliseconds pause) const;
  /// Sends nothing more but keeps the connection until the client or the server ends.
  void hold() const;
  /// Breaks the connection instead of closing it.
  void reset() const;

 private:
  RawServer& server_;
  int socket_;
};

/// A server on the loopback that sends whatever its script says, for what no real server does on purpose.
///
/// @code
///   RawServer server([](RawConnection& connection, const std::string& request, int) {
///     connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort");
///     return false;   // close; true waits for the next request
///   });
/// @endcode
class RawServer {
 public:
  /// Called for each request, in a thread of the connection: the header as received, and how many requests the server
  /// has had before. Returns whether the connection stays open.
  using Script = std::function<bool(RawConnection& connection, const std::string& request, int number)>;

  explicit RawServer(Script script);
  /// Answers every request by these bytes and closes.
  explicit RawServer(const std::string& answer);
  ~RawServer();
  RawServer(const RawServer&) = delete;
  RawServer& operator=(const RawServer&) = delete;

  std::string url(const std::string& path = "/item") const;
  std::vector<std::string> requests() const;
  int connections() const { return connections_; }

  /// Waits; false when the server ends meanwhile.
  bool pause(std::chrono::milliseconds time);

 private:
  void accept();
  void serve(int socket);
  bool takeRequest(int socket, std::string& pending, std::string& request);

  const Script script_;
  int listener_;
  mutable std::mutex mutex_;
  std::condition_variable ended_;
  bool ending_ = false;
  std::vector<int> sockets_;
  std::vector<std::string> requests_;
  std::atomic<int> connections_{0};
  std::list<std::thread> threads_;
  std::thread acceptor_;
};

/// Value of a header line of a request; empty when it has none.
std::string headerOf(const std::string& request, const std::string& name);

}  // namespace quorin_test
