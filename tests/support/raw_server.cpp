#include "support/raw_server.h"

#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <sstream>
#include <utility>

#include "support/loopback.h"

namespace quorin_test {

bool RawConnection::send(std::string_view bytes) const { return sendAll(socket_, bytes); }

bool RawConnection::trickle(std::string_view bytes, std::chrono::milliseconds pause) const {
  for (const char byte : bytes) {
    if (!sendAll(socket_, std::string_view(&byte, 1)) || !server_.pause(pause)) {
      return false;
    }
  }
  return true;
}

void RawConnection::hold() const {
  char ignored[256];
  while (recv(socket_, ignored, sizeof ignored, 0) > 0) {
  }
}

void RawConnection::reset() const {
  const linger atOnce = {1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

RawServer::RawServer(Script script) : script_(std::move(script)), listener_(listenOnLoopback(0)) {
  acceptor_ = std::thread([this] { accept(); });
}

RawServer::RawServer(const std::string& answer)
    : RawServer([answer](RawConnection& connection, const std::string&, int) {
        connection.send(answer);
        return false;
      }) {}

RawServer::~RawServer() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ending_ = true;
    shutdown(listener_, SHUT_RDWR);
    for (const int socket : sockets_) {
      shutdown(socket, SHUT_RDWR);
    }
  }
  ended_.notify_all();
  acceptor_.join();
  for (std::thread& thread : threads_) {
    thread.join();
  }
  close(listener_);
}

std::string RawServer::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(portOf(listener_)) + path;
}

std::vector<std::string> RawServer::requests() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

bool RawServer::pause(std::chrono::milliseconds time) {
  std::unique_lock<std::mutex> lock(mutex_);
  return !ended_.wait_for(lock, time, [this] { return ending_; });
}

void RawServer::accept() {
  for (int socket = ::accept(listener_, nullptr, nullptr); socket >= 0;
       socket = ::accept(listener_, nullptr, nullptr)) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (ending_) {
      close(socket);
      return;
    }
    ++connections_;
    sockets_.push_back(socket);
    threads_.emplace_back([this, socket] { serve(socket); });
  }
}

void RawServer::serve(int socket) {
  RawConnection connection(*this, socket);
  std::string pending;
  std::string request;
  bool open = true;
  while (open && takeRequest(socket, pending, request)) {
    int number = 0;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      number = static_cast<int>(requests_.size());
      requests_.push_back(request);
    }
    open = script_(connection, request, number);
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  for (int& own : sockets_) {
    own = own == socket ? -1 : own;
  }
  close(socket);
}

bool RawServer::takeRequest(int socket, std::string& pending, std::string& request) {
  char buffer[4096];
  size_t end = pending.find("\r\n\r\n");
  while (end == std::string::npos) {
    const ssize_t got = recv(socket, buffer, sizeof buffer, 0);
    if (got <= 0) {
      return false;
    }
    pending.append(buffer, static_cast<size_t>(got));
    end = pending.find("\r\n\r\n");
  }
  request = pending.substr(0, end + 4);
  pending.erase(0, end + 4);
  return true;
}

std::string headerOf(const std::string& request, const std::string& name) {
  std::istringstream lines(request);
  for (std::string line; std::getline(lines, line);) {
    if (line.size() > name.size() && line[name.size()] == ':' &&
        strncasecmp(line.c_str(), name.c_str(), name.size()) == 0) {
      const size_t first = line.find_first_not_of(' ', name.size() + 1);
      return line.substr(first, line.find_last_not_of("\r ") + 1 - first);
    }
  }
  return std::string();
}

}  // namespace quorin_test
