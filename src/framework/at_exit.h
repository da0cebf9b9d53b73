#pragma once

#include <utility>

namespace zu::md::common::quorin {

/// Calls a function when the scope is left, on whatever way.
template <typename Function>
class AtExit {
 public:
  explicit AtExit(Function function) : function_(std::move(function)) {}
  ~AtExit() { function_(); }
  AtExit(const AtExit&) = delete;
  AtExit& operator=(const AtExit&) = delete;

 private:
  Function function_;
};

}  // namespace zu::md::common::quorin
