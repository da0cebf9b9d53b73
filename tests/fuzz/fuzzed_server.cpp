#include "fuzzed_server.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "require.h"
#include "support/loopback.h"

namespace quorin_test {

FuzzedServer::FuzzedServer(std::chrono::milliseconds patience)
    : patience_(patience), listener_(listenOnLoopback(0)), thread_([this] { run(); }) {}

FuzzedServer::~FuzzedServer() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ending_ = true;
  }
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
}

void FuzzedServer::answerBy(Script script) {
  const std::lock_guard<std::mutex> lock(mutex_);
  script_ = std::move(script);
}

std::string FuzzedServer::url() const { return "http://127.0.0.1:" + std::to_string(portOf(listener_)) + "/item"; }

void FuzzedServer::run() {
  for (;;) {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    require(socket >= 0 || isEnding(), "a server accepts its clients");
    if (socket < 0) {
      return;
    }
    serve(socket);
    close(socket);
  }
}

bool FuzzedServer::isEnding() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return ending_;
}

void FuzzedServer::serve(int socket) {
  std::string request;
  while (takeRequest(socket, request)) {
    Answer answer;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      answer = script_(request);
    }
    if (!sendAll(socket, answer.bytes) || answer.close) {
      return;
    }
  }
}

/// The client sends nothing before it has its answer, so what comes is one request at most.
bool FuzzedServer::takeRequest(int socket, std::string& request) const {
  request.clear();
  char buffer[4096];
  while (request.find("\r\n\r\n") == std::string::npos) {
    pollfd waiting = {socket, POLLIN, 0};
    if (poll(&waiting, 1, static_cast<int>(patience_.count())) <= 0) {
      return false;
    }
    const ssize_t got = recv(socket, buffer, sizeof buffer, 0);
    if (got <= 0) {
      return false;
    }
    request.append(buffer, static_cast<size_t>(got));
  }
  return true;
}

}  // namespace quorin_test
