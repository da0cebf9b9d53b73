#!/bin/sh
# campaign.sh SECONDS [HARNESS...]: lets libFuzzer and then AFL++ at each harness for so long each, from what is kept and
# from what earlier campaigns in this tree have found; then tells which part of src/ all of that reaches.
#
# What is worth keeping stands in build/fuzz/merged/HARNESS afterwards: every input of it reaches code that no other does.
# `campaign.sh --keep` copies the short ones of them to corpus/, from where every build of the tests replays them.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
here=tests/fuzz
longest_kept=1024 # bytes

harnesses() { ls "$here/harness" | sed 's/\.cpp$//'; }

build() {
  cmake --preset "$1" >"build/$1.log" 2>&1 && cmake --build --preset "$1" --target fuzzers >>"build/$1.log" 2>&1 || {
    tail -n 30 "build/$1.log"
    exit 1
  }
}

# with_afl SECONDS HARNESS
with_afl() {
  out=build/fuzz-afl/out/$2
  begin=build/fuzz-afl/begin/$2
  mkdir -p "$begin" "$out"
  rm -f "$out/default/fuzzer_stats"
  # AFL++ wants every input that it begins with to be quick, and some of them to be there; "+" leaves out those that
  # are not.
  find "$here/corpus/$2" "build/fuzz/corpus/$2" -type f -size -5k -exec cp {} "$begin" \;
  AFL_NO_UI=1 AFL_SKIP_CPUFREQ=1 AFL_I_DONT_CARE_ABOUT_MISSING_CRASHES=1 AFL_NO_AFFINITY=1 AFL_AUTORESUME=1 \
    afl-fuzz -V "$1" -t 2000+ -m none -x "$("$here/dictionary.sh" "$2")" -i "$begin" -o "$out" -- \
    "build/fuzz-afl/bin/fuzz_$2" >"$out.log" 2>&1 || {
    tail -n 20 "$out.log"
    echo "$2: AFL++ did not run; all it said stands in $out.log"
    return 1
  }
  sed -n 's/^\(execs_done\|saved_crashes\|saved_hangs\) *: */\1 /p' "$out/default/fuzzer_stats" | paste -sd ' ' |
    sed "s/^/$2: AFL++ /"
  [ -z "$(ls "$out/default/crashes" "$out/default/hangs" | grep '^id')" ]
}

# merge HARNESS
merge() {
  mkdir -p "build/fuzz/merged/$1"
  "build/fuzz/bin/fuzz_$1" -merge=1 -use_counters=0 -timeout=20 -rss_limit_mb=3000 "build/fuzz/merged/$1" "$here/corpus/$1" \
    "build/fuzz/corpus/$1" $(ls -d "build/fuzz-afl/out/$1/default/queue" 2>/dev/null) >"build/fuzz/merged/$1.log" 2>&1 || {
    tail -n 20 "build/fuzz/merged/$1.log"
    return 1
  }
}

coverage() {
  tree=build/fuzz-coverage
  cmake --preset dev -B "$tree" -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_CXX_FLAGS="-O1 -fprofile-instr-generate -fcoverage-mapping" >"$tree.log" 2>&1
  cmake --build "$tree" --target fuzzers >>"$tree.log" 2>&1
  objects=''
  for name in "$@"; do
    LLVM_PROFILE_FILE=$tree/$name.profraw "$tree/bin/fuzz_$name" "build/fuzz/merged/$name" >"$tree/$name.log" 2>&1
    objects="$objects -object $tree/bin/fuzz_$name"
  done
  llvm-profdata-14 merge -o "$tree/all.profdata" "$tree"/*.profraw
  llvm-cov-14 report "$tree/bin/fuzz_$1" $objects -instr-profile="$tree/all.profdata" \
    -ignore-filename-regex='(^|/)(tests|platform|include|usr)/' 2>/dev/null |
    awk 'BEGIN { printf "%-44s %7s %9s %9s %9s\n", "what is reached of", "lines", "", "branches", "" }
      $8 ~ /^[0-9]+$/ { printf "%-44s %7s %9s %9s %9s\n", $1, $8, $10, $11, $13 }'
}

if [ "${1:-}" = --keep ]; then
  for name in $(harnesses); do
    find "build/fuzz/merged/$name" -type f -size "-$((longest_kept + 1))c" -exec cp {} "$here/corpus/$name/" \;
  done
  exit 0
fi

seconds=$1
shift
if [ $# = 0 ]; then
  set -- $(harnesses)
fi
packaging/packages.sh install build test check
mkdir -p build
build fuzz
build fuzz-afl
status=0
"$here/run.sh" build/fuzz "$seconds" "$@" || status=1
for name in "$@"; do
  with_afl "$seconds" "$name" || status=1
  merge "$name" || status=1
done
coverage "$@" || status=1
exit $status
