#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

/// @file
/// What the programs that measure parts have in common; main.cpp runs them.

namespace quorin_bench {

/// Registers the benchmarks; each program has its own.
/// @param arguments those of the command line that are not Google Benchmark's
/// @throws std::exception when they are not usable
void registerAll(const std::vector<std::string>& arguments);

/// Ends a benchmark with an error. In the end the program fails, too, which Google Benchmark alone would not let it.
void fail(benchmark::State& state, const std::string& what);

}  // namespace quorin_bench
