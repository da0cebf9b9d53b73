#pragma once

#include <functional>
#include <thread>

namespace quorin_command {

/// Starts a thread that SIGINT and SIGTERM pass by: the main thread meets them, whatever the others are at.
/// Throws std::system_error when there can be no more threads.
std::thread startInBackground(std::function<void()> work);

}  // namespace quorin_command
