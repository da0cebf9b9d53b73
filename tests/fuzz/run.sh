#!/bin/sh
# run.sh BUILD SECONDS [HARNESS...]: shows each harness of the libFuzzer build BUILD what is kept in corpus/, then lets
# the fuzzer go on for so long; prints a line per harness. What it finds on the way goes to BUILD/corpus/HARNESS, or to a
# folder that QUORIN_FUZZ_FINDS names instead of BUILD/corpus, so that the next run goes on there; an input that fails goes
# to BUILD/findings/HARNESS and fails the run.
set -eu
here=$(cd "$(dirname "$(readlink -f "$0")")" && pwd)
build=$(cd "$1" && pwd)
seconds=$2
shift 2
finds=${QUORIN_FUZZ_FINDS:-$build/corpus}
if [ $# = 0 ]; then
  set -- $(ls "$here/harness" | sed 's/\.cpp$//')
fi

# one HARNESS: of the runs that go on at once.
one() {
  name=$1
  mkdir -p "$finds/$name" "$build/findings/$name"
  log=$build/findings/$name.log
  # Longer inputs than that are slow, and have nothing in them that a hole would not have as well.
  if "$build/bin/fuzz_$name" -max_total_time="$seconds" -max_len=4096 -timeout=20 -rss_limit_mb=3000 \
    -dict="$("$here/dictionary.sh" "$name")" -artifact_prefix="$build/findings/$name/" -print_final_stats=1 \
    "$finds/$name" "$here/corpus/$name" >"$log" 2>&1; then
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    printf '%-20s %10s executions  %s\n' "$name" "$executions" "$(sed -n 's/.*DONE *\(cov: [0-9]*\).*/\1/p' "$log")"
  else
    echo "$name FAILED; the input is in $build/findings/$name, the end of $log says:"
    grep -aE 'does not hold|runtime error|ERROR|SUMMARY' "$log" | head -n 5
    return 1
  fi
}

status=0
pids=''
running=0
for name in "$@"; do
  one "$name" &
  pids="$pids $!"
  running=$((running + 1))
  if [ $running -ge "$(nproc)" ]; then
    for pid in $pids; do
      wait "$pid" || status=1
    done
    pids=''
    running=0
  fi
done
for pid in $pids; do
  wait "$pid" || status=1
done
exit $status
