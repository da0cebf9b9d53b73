#!/bin/sh
# nightly.sh [STAGE...]: the checks that take too long for every change; all of them without a name. Installs what is
# missing for that.
#
#   stage     what it does, and why CI does without; the times are of two cores that had other work beside
#   valgrind  memcheck over the suites with libcurl and libmount, into which no sanitizer sees: 11 minutes, during which
#             time limits of the tests are at their narrowest
#   msan      MemorySanitizer over what needs no such library: 3 minutes for the C++ library that it takes, once, then 4
#             for building and 12 for running
#   coverage  lines and branches of src and platform/host that the suites reach, see coverage.sh: 12 minutes, 5 of them
#             for building
#   counts    the instructions of an analysis against the budgets in bench/instructions: some minutes, most of them for
#             counting under qemu
#   fuzz      a long campaign: each harness under each fuzzer for ten minutes, or QUORIN_FUZZ_SECONDS; what it finds is
#             chance, and cannot hold up a change
set -eu
cd "$(dirname "$(readlink -f "$0")")/.."
jobs=$(nproc)
longest=3600 # seconds of one program; one that hangs must not take the night

# build PRESET TARGETS
build() {
  preset=$1
  shift
  mkdir -p "build/$preset"
  log=build/$preset/build.log
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset" -j "$jobs" --target "$@"; } >"$log" 2>&1; then
    grep -E -A 8 'error|FAILED' "$log" | head -n 80
    return 1
  fi
}

# run LOG COMMAND...: shows the end of what COMMAND wrote when it fails
run() {
  log=$1
  shift
  if ! "$@" >"$log" 2>&1; then
    tail -n 100 "$log"
    echo "nightly.sh: '$*' failed; all of it stands in $log" >&2
    return 1
  fi
}

# Left out under memcheck: the matrix of faults, which would take the night, takes no library, and runs under the
# sanitizers. Tests of openat2(2), which memcheck does not know, leave themselves out. Leaks are what nothing points to.
memcheck() {
  QUORIN_TESTS_RUN_SLOWLY=1 timeout $longest tests/support/with_private_net.sh valgrind --quiet --error-exitcode=9 --suppressions=packaging/valgrind.supp \
    --leak-check=full --show-leak-kinds=definite,indirect,possible --errors-for-leak-kinds=definite,indirect,possible \
    "$@" --gtest_brief=1 --gtest_filter='-*FaultMatrix*'
}

valgrind_stage() {
  build dev unit driver platform network || return 1
  for suite in unit driver platform network; do
    run build/dev/memcheck_$suite.log memcheck "build/dev/bin/$suite" || return 1
  done
}

# Not the suites that call libcurl, of whose writes MemorySanitizer knows nothing, nor the one of failing allocations,
# because it brings its own operator new, which is MemorySanitizer's here.
msan_stage() {
  packaging/make_msan_libcxx.sh build/msan-libcxx && build msan unit contract driver || return 1
  for suite in unit contract driver; do
    run build/msan/$suite.log timeout $longest build/msan/bin/$suite --gtest_brief=1 || return 1
  done
}

coverage_stage() { packaging/coverage.sh; }

counts_stage() { bench/run.sh --counts; }

fuzz_stage() { tests/fuzz/campaign.sh "${QUORIN_FUZZ_SECONDS:-600}"; }

packaging/packages.sh install build test check nightly
status=0
for stage in ${*:-valgrind msan coverage counts fuzz}; do
  started=$(date +%s)
  echo "== $stage"
  "${stage}_stage" || status=1
  echo "== $stage: $(($(date +%s) - started)) s"
done
exit $status
