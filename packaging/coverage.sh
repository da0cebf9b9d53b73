#!/bin/sh
# coverage.sh: runs the suites of the library and of the host platform in a build that tells what ran, prints how much of
# src and platform/host it was, and fails when that is less than the least that is accepted. What is missing is shown
# line by line in build/coverage/report/index.html.
#
# Branches that only an exception takes do not count, nor do those that the compiler put on lines without code of ours
# (--exclude-throw-branches, --exclude-unreachable-branches): nearly every call has one, and no test can tell whether it
# was taken for the right reason. Memory that ends is tested by tests/driver/allocation instead. Nothing else is left
# out but by a GCOVR_EXCL comment in the source, which says why.
set -eu
cd "$(dirname "$(readlink -f "$0")")/.."
least_lines=95     # per cent
least_branches=90  # per cent
build=build/coverage
slow="contract unit"
others="driver driver_allocation driver_media platform network"

cmake --preset coverage >/dev/null
# What an earlier run counted, or counted for code that is no more, does not count.
find "$build" -name '*.gcda' -delete
# shellcheck disable=SC2086  # a list of names
cmake --build --preset coverage -j "$(nproc)" --target $slow $others >"$build/build.log" 2>&1 || {
  grep -E -A 8 'error|FAILED' "$build/build.log" | head -n 80
  exit 1
}

# Whole programs, because each process takes its time to write down what ran; the slowest beside the others.
run() {
  for program in "$@"; do
    timeout 3600 tests/support/with_private_net.sh "$build/bin/$program" --gtest_brief=1 >"$build/$program.log" 2>&1 || {
      tail -n 100 "$build/$program.log"
      return 1
    }
  done
}
status=0
# shellcheck disable=SC2086  # lists of names
run $slow &
run $others || status=1
wait $! || status=1
[ $status = 0 ] || exit 1

# The objects of what ships, not of the tests, which build some of it again.
mkdir -p "$build/report"
gcovr --root . --filter src/ --filter platform/host/ --exclude-throw-branches --exclude-unreachable-branches \
  --html-details "$build/report/index.html" --html-title "Coverage of the library and the host platform" \
  --json-summary "$build/report/summary.json" --fail-under-line $least_lines --fail-under-branch $least_branches \
  "$build/src" "$build/platform" || status=$?
/usr/bin/python3 - "$build/report/summary.json" <<'TABLE'
import json, sys

def row(name, of):
    counts = [f"{of[what + '_covered']}/{of[what + '_total']}" for what in ("line", "branch")]
    percents = [of[what + "_percent"] for what in ("line", "branch")]
    shown = [f"{count:>11} {'-' if percent is None else percent:>6}" for count, percent in zip(counts, percents)]
    print(f"{name:44}{''.join(shown)}")

print(f"{'':44}{'lines':>11}      %{'branches':>11}      %")
summary = json.load(open(sys.argv[1]))
for file in summary["files"]:
    row(file["filename"], file)
row("all", summary)
TABLE
exit "$status"
