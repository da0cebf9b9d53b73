#!/bin/sh
# bench/run.sh [ROUNDS]: measures how fast everything is and writes docs/performance.md. Takes some minutes of a
# machine that does nothing else. Installs what is missing for it.
#
# With --counts only the instructions are counted, and held against bench/instructions.
set -eu
here=$(dirname "$(readlink -f "$0")")
cd "$here/.."
jobs=$(nproc)
figures=build/bench
library=$figures/library
bin=$figures/bin

# build PRESET TARGET...
build() {
  preset=$1
  shift
  echo "== building: $preset"
  mkdir -p "build/$preset"
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset" -j "$jobs" --target "$@"; } \
      >"build/$preset/build.log" 2>&1; then
    tail -n 40 "build/$preset/build.log" >&2
    exit 1
  fi
}

# count MACHINE PRESET
count() {
  echo "== instructions: $1"
  bench/instructions/count.py "$1" "$library/list.txt" "build/$2/bin/analyse_times" "$figures/instructions-$1.txt"
}

# counts: fails when one leaves its budget, but counts all before
counts() {
  status=0
  rm -f $figures/instructions-*.txt
  count x86_64 bench || status=1
  count armhf bench-armhf || status=1
  return $status
}

packaging/packages.sh install build test bench
packaging/cross/make_armhf_sysroot.sh build/armhf-sysroot
build bench-armhf analyse_times
bench/library/make_library.py "$library"
# All of it also where only instructions are counted: nobody else builds it.
build bench quorin quorin-documents-files side_by_side one_by_one bare analyse_times bench_analyzers bench_scans \
  bench_driver_memory bench_driver_files driver_allocation network
if [ "${1:-}" = --counts ]; then
  counts
  exit
fi

rounds=${1:-16}
printf '{"date": "%s", "load": "%s", "rounds": %d}\n' "$(date -u +%Y-%m-%d)" "$(cut -d ' ' -f 1-3 /proc/loadavg)" \
  "$rounds" >$figures/conditions.json
sync # what was made until here would be written to the disk while something is timed

echo "== side by side"
bench/side_by_side/trace_calls.py $bin/one_by_one $library/list.txt $library/calls.txt
$bin/side_by_side $library/list.txt $library/calls.txt $figures/side_by_side.json "$rounds"

echo "== whole processes"
cmake --install $figures --prefix $figures/installed >/dev/null
bench/whole_process/measure.py $library/list.txt $bin/bare $figures/installed/bin/quorin $figures/whole_process.json

echo "== parts"
# part NAME ARGUMENT...
part() {
  name=$1
  shift
  "$bin/bench_$name" --benchmark_min_time=0.1 "--benchmark_out=$figures/$name.json" --benchmark_out_format=json "$@" \
    >/dev/null
}
part driver_files $library/list.txt
for name in analyzers scans driver_memory; do
  part $name
done

# Last, because it matters to nothing that is counted or sampled what else the machine does.
echo "== where the time goes"
bench/profile/record.py $library/list.txt $bin/analyse_times $figures/installed/bin/quorin $figures/profile.json
echo "== counts"
$bin/driver_allocation --gtest_filter='AllocationCount.*' --gtest_output=json:$figures/allocations.json >/dev/null
tests/support/with_private_net.sh $bin/network --gtest_filter='NetworkRequests.*' \
  --gtest_output=json:$figures/requests.json >/dev/null
within_budget=0
counts || within_budget=$?

bench/report/write_page.py $figures docs
echo "== docs/performance.md is written"
exit $within_budget
