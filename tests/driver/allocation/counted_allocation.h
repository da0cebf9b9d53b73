#pragma once

/// @file
/// The allocation of the whole program, counted and made to fail. Each thread has figures of its own.

namespace quorin_test {

constexpr int never = -1;

/// Allocations that still succeed; `never` when none fails.
extern thread_local int allocationsLeft;

/// Whether those behind the first one that failed succeed again.
extern thread_local bool onlyOneFails;

/// Allocations so far.
extern thread_local unsigned long allocations;

/// Those that failed.
extern thread_local unsigned long failedAllocations;

/// Those that were not freed yet.
extern thread_local long liveAllocations;

}  // namespace quorin_test
