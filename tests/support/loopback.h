#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support/child_process.h"

/// @file
/// TCP on 127.0.0.1, as far as the servers of the tests need it.

namespace quorin_test {

/// A port that nobody listens on.
uint16_t freePort();

/// Whether this process has a network of its own, in which nothing but the loopback exists.
bool onlyLoopback();

/// A listening socket on `port`, 0 for any; throws when that fails.
int listenOnLoopback(uint16_t port, int backlog = 64);

/// The local port of a socket.
uint16_t portOf(int socket);

/// Connects a socket; false when that fails, or, for one that does not block, cannot be said yet.
bool connectTo(int socket, uint16_t port);

/// A connected socket, or -1.
int connectToLoopback(uint16_t port);

/// Waits until `server` listens on `port`; throws when it ends instead or takes too long.
void waitForListener(uint16_t port, ChildProcess& server);

/// Sends all of `bytes`; false when the peer is gone.
bool sendAll(int socket, std::string_view bytes);

/// Sends `request` and returns all that comes until the peer closes or falls silent; stops at `limit` bytes.
std::string askServer(uint16_t port, std::string_view request, size_t limit = 65536);

}  // namespace quorin_test
