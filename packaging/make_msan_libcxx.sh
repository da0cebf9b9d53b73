#!/bin/sh
# make_msan_libcxx.sh DIRECTORY: a C++ library that tells MemorySanitizer what it writes, in DIRECTORY/installed. Without
# one, every string that the ordinary library filled counts as uninitialised. Built from Debian's source of LLVM (130 MB,
# of which nothing else is unpacked); does nothing when it is there already.
set -eu
. "$(dirname "$(readlink -f "$0")")/private_apt.sh"
mkdir -p "$1"
cd "$1"
if [ -f installed/.complete ]; then
  exit 0
fi

finish() {
  status=$?
  if [ $status != 0 ]; then
    tail -n 20 log >&3
    echo "make_msan_libcxx.sh: building failed; all of it stands in $PWD/log" >&3
  fi
}
echo "Building a C++ library for MemorySanitizer in $PWD" >&2
exec 3>&2 >log 2>&1
trap finish EXIT

make_private_apt "$PWD/apt" "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]" bookworm
private_apt "$PWD/apt" update
private_apt "$PWD/apt" source --download-only llvm-toolchain-14
rm -rf source objects installed
mkdir source
tar -xf llvm-toolchain-14_*.orig.tar.xz -C source --strip-components=1 --wildcards \
  '*/libcxx/*' '*/libcxxabi/*' '*/libunwind/*' '*/runtimes/*' '*/llvm/cmake/*' '*/llvm/utils/*' '*/cmake/*'
cmake -G Ninja -S source/runtimes -B objects -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$PWD/installed" \
  -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 -DLLVM_USE_SANITIZER=MemoryWithOrigins \
  -DLLVM_ENABLE_RUNTIMES="libcxx;libcxxabi" -DLIBCXXABI_USE_LLVM_UNWINDER=OFF -DLIBCXX_INCLUDE_TESTS=OFF \
  -DLIBCXX_INCLUDE_BENCHMARKS=OFF -DLIBCXXABI_INCLUDE_TESTS=OFF
ninja -C objects install-cxx install-cxxabi
rm -rf apt source objects llvm-toolchain-14_*
touch installed/.complete
