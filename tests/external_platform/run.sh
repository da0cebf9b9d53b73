#!/bin/sh
# run.sh BUILD_FOLDER [CMAKE OPTIONS]: builds the library over the platform in this folder, as a project outside of the
# tree does, and runs on it every test that needs nothing of the host platform.
set -eu
here=$(dirname "$(readlink -f "$0")")
build=$1
shift

cmake -S "$here" -B "$build" -G Ninja -DQUORIN_DEVELOPER=ON "$@"
cmake --build "$build" -j "$(nproc)" --target md-common-quorin contract unit driver memory

# Of the platform, the library wants what wanted.txt names, and nothing else. What the C and C++ libraries give has a
# version, what the compiler adds begins with an underscore.
nm -uDC "$build/lib/libmd-common-quorin.so" | sed -n '/@/!s/^ *[Uw] \([^_][^(]*\).*/\1/p' | LC_ALL=C sort -u \
  >"$build/wanted.txt"
LC_ALL=C diff -u "$here/wanted.txt" "$build/wanted.txt"

# The guide for device makers tells of all of it, and shows the lines that were built here.
guide=$here/../../docs/porting.md
while read -r name; do
  grep -q "[\`:]${name##*:}\`" "$guide" || { echo "docs/porting.md does not tell of $name" >&2; exit 1; }
done <"$here/wanted.txt"
sed -n '/^# begin/,/^# end/p' "$here/CMakeLists.txt" | sed '1d;$d' >"$build/shown.cmake"
sed -n '/^```cmake/,/^```$/p' "$guide" | sed '1d;$d' | diff -u "$build/shown.cmake" -

# The slowest last, in two halves that share the cores.
cd "$build"
for program in contract unit memory; do
  "bin/$program" --gtest_brief=1
done
GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=0 bin/driver --gtest_brief=1 >first_half.log 2>&1 &
status=0
GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=1 bin/driver --gtest_brief=1 || status=$?
wait $! || status=$?
cat first_half.log
exit "$status"
