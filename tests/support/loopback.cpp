#include "support/loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace quorin_test {

namespace {

constexpr std::chrono::seconds patience(20);

sockaddr_in addressOf(uint16_t port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int newSocket() { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0); }

}  // namespace

int listenOnLoopback(uint16_t port, int backlog) {
  const int listener = newSocket();
  const int on = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in address = addressOf(port);
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener, backlog) != 0) {
    throw std::runtime_error("cannot listen");
  }
  return listener;
}

uint16_t portOf(int socket) {
  sockaddr_in address = {};
  socklen_t length = sizeof address;
  getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
  return ntohs(address.sin_port);
}

uint16_t freePort() {
  const int listener = listenOnLoopback(0);
  const uint16_t port = portOf(listener);
  close(listener);
  return port;
}

bool onlyLoopback() {
  std::ifstream interfaces("/proc/self/net/dev");  // two lines of titles, then "NAME: numbers" each
  int others = 0;
  for (std::string line; std::getline(interfaces, line);) {
    const bool isInterface = line.find(':') != std::string::npos;
    others += isInterface && line.find(" lo:") == std::string::npos ? 1 : 0;
  }
  return others == 0;
}

bool connectTo(int socket, uint16_t port) {
  const sockaddr_in address = addressOf(port);
  return connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

int connectToLoopback(uint16_t port) {
  const int connection = newSocket();
  if (!connectTo(connection, port)) {
    close(connection);
    return -1;
  }
  return connection;
}

void waitForListener(uint16_t port, ChildProcess& server) {
  const auto giveUp = std::chrono::steady_clock::now() + patience;
  int connection = connectToLoopback(port);
  while (connection < 0) {
    if (!server.running() || std::chrono::steady_clock::now() > giveUp) {
      throw std::runtime_error("the server did not start");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    connection = connectToLoopback(port);
  }
  close(connection);
}

bool sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

std::string askServer(uint16_t port, std::string_view request, size_t limit) {
  const int connection = connectToLoopback(port);
  const timeval longestSilence = {2, 0};
  setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &longestSilence, sizeof longestSilence);
  std::string answer;
  char buffer[4096];
  ssize_t got = connection >= 0 && sendAll(connection, request) ? 1 : 0;
  while (got > 0 && answer.size() < limit && (got = recv(connection, buffer, sizeof buffer, 0)) > 0) {
    answer.append(buffer, static_cast<size_t>(got));
  }
  close(connection);
  return answer;
}

}  // namespace quorin_test
