#!/bin/sh
# embedded_fit.sh BUILD_FOLDER TOOLCHAIN_FILE SYSROOT HEAP_COMMAND...: whether the library fits a small device. Builds
# library and host platform for size, for 32-bit ARM and for this machine, prints what they cost as a table, and fails
# where a limit is passed. HEAP_COMMAND is the test program "heap", which holds its own limits.
set -eu
here=$(dirname "$(readlink -f "$0")")
build=$1
toolchain=$2
sysroot=$3
shift 3

# Bytes, stripped: 150 KB on the device. Code for this machine is larger; what it must not do is to grow unseen.
most_file_on_device=153600
most_file_here=204800
most_stack=16384  # bytes of one function
# What runs before main: constant texts. The registry of translators comes to be when it is first asked for.
initializers='analyzer_audio_dlna_pcm.cpp
http_header.cpp
mime_types.cpp
playlist_strings.cpp'
# Ways to threads and to signal handlers.
refused='pthread_create|_ZNSt6thread.*|thrd_create|clone|sigaction|signal|sigprocmask|pthread_sigmask|timer_create|setitimer|fork|atexit'

# Exists when something is too much; a file, because parts of pipelines tell it too.
failed=$build/failed
mkdir -p "$build"
rm -f "$failed"

# row WHAT WHERE VALUE LIMIT: a line of the table.
row() {
  verdict=ok
  if [ "${3:-0}" -le 0 ]; then
    echo "$1 ($2): nothing to measure"
    touch "$failed"
    return
  fi
  if [ "$3" -gt "$4" ]; then
    verdict='TOO MUCH'
    touch "$failed"
  fi
  printf '%-44s %-7s %9d %9d  %s\n' "$1" "$2" "$3" "$4" "$verdict"
}

# refuse WHAT: says what must not be there; nothing when the standard input is empty.
refuse() {
  found=$(cat)
  if [ -n "$found" ]; then
    printf '%s:\n%s\n' "$1" "$found"
    touch "$failed"
  fi
}

# build_small NAME OPTIONS...
build_small() {
  tree=$build/$1
  shift
  mkdir -p "$tree"
  if ! { cmake -S "$here/../.." -B "$tree" -G Ninja -DCMAKE_BUILD_TYPE=MinSizeRel -DCMAKE_CXX_FLAGS=-fstack-usage \
    -DQUORIN_TOOLS=OFF "$@" && cmake --build "$tree" -j "$(nproc)"; } >"$tree/build.log" 2>&1; then
    tail -n 40 "$tree/build.log"
    exit 1
  fi
}

# libraries TREE NAME: the files of the libraries whose names begin with NAME, without the links to them.
libraries() { find "$build/$1/lib" -type f -name "lib$2*.so*"; }

# stripped_size TREE STRIP NAME: of all of these together.
stripped_size() {
  total=0
  for library in $(libraries "$1" "$3"); do
    "$2" --strip-unneeded -o "$build/stripped" "$library"
    total=$((total + $(stat -c %s "$build/stripped")))
  done
  [ "$total" -gt 0 ] && echo "$total"
}

# measure NAME STRIP MOST_FILE: sizes, stack, initializers and imports of a tree.
measure() {
  row "libmd-common-quorin.so, stripped" "$1" "$(stripped_size "$1" "$2" md-common-quorin)" "$3"
  row "host platform, stripped, all its files" "$1" "$(stripped_size "$1" "$2" md-platform-host)" "$3"

  # FILE:LINE:COLUMN:FUNCTION <tab> BYTES <tab> KIND; the kind "dynamic" has no bound.
  find "$build/$1" -name '*.su' -exec cat {} + >"$build/$1/stack.txt"
  [ -s "$build/$1/stack.txt" ]
  deepest=$(sort -t "$(printf '\t')" -k 2 -n "$build/$1/stack.txt" | tail -n 1)
  row "stack of one function" "$1" "$(printf '%s' "$deepest" | cut -f 2)" "$most_stack"
  printf '  %s\n' "$(printf '%s' "$deepest" | cut -f 1 | sed 's/^.*:[0-9]*:[0-9]*://')"
  grep -P '\tdynamic$' "$build/$1/stack.txt" | refuse "stack without a bound"

  find "$build/$1/src" -name '*.o' -exec nm {} + | sed -n 's/.* _GLOBAL__sub_I_//p' | LC_ALL=C sort >"$build/$1/found.txt"
  printf '%s\n' "$initializers" | diff - "$build/$1/found.txt" | refuse "what runs before main in the library is not as listed"
  # By their number as well: a constructor that somebody has marked as one has no such name.
  for library in $(libraries "$1" md-); do
    known=1  # of the compiler
    case $library in *md-common-quorin*) known=$(($(printf '%s\n' "$initializers" | wc -l) + 1)) ;; esac
    count=$(readelf -SW "$library" | sed -n 's/.* \.init_array *INIT_ARRAY *[^ ]* *[^ ]* *\([^ ]*\).*/\1/p')
    case $1 in armhf) pointer=4 ;; *) pointer=8 ;; esac
    [ $((0x$count)) -eq $((known * pointer)) ] || echo "$library: $((0x$count / pointer)), $known are known" |
      refuse "initializers"
    nm -uD "$library" | sed 's/.* //; s/@.*//' | grep -xE "$refused" | refuse "threads or signals in $library"
  done
}

build_small armhf -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DQUORIN_ARMHF_SYSROOT="$sysroot"
build_small native -DCMAKE_CXX_COMPILER=g++

printf '%-44s %-7s %9s %9s\n' what where bytes limit
measure armhf arm-linux-gnueabihf-strip "$most_file_on_device"
measure native strip "$most_file_here"

heap=$build/heap.txt
case "$*" in *qemu*) heap_where=armhf ;; *) heap_where=native ;; esac
if ! "$@" >"$heap"; then
  grep -vE '^heap |OK \]|RUN  ' "$heap"
  touch "$failed"
fi
# The largest under each limit.
grep '^heap ' "$heap" | sort -k 5n -k 3n | awk '{ largest[$5] = $0 } END { for (limit in largest) print largest[limit] }' |
  sort -k 5n | while read -r _ name bytes kept limit; do
  row "heap of one analysis" "$heap_where" "$bytes" "$limit"
  printf '  %s; %d bytes stay with the result\n' "$name" "$kept"
done
[ -s "$heap" ]
if [ -e "$failed" ]; then
  exit 1
fi
