#pragma once

/// @file
/// The allocation of the whole program, counted and made to fail. Each thread has figures of its own.

namespace quorin_test {

constexpr int never = -1;

/// Allocations that still succeed; `never` when none fails.
extern thread_local int allocationsLeft;

/// Allocations so far.
extern thread_local unsigned long allocations;

}  // namespace quorin_test
