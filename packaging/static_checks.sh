#!/bin/sh
# static_checks.sh BUILD: cppcheck and clang-tidy over everything that ships; the latter with the compile commands of the
# clang++ build BUILD.
set -eu
cd "$(dirname "$(readlink -f "$0")")/.."

# Takes seconds, because it does not follow the headers of the system. What it is wrong about is excused where it stands.
if ! cppcheck --std=c++17 --language=c++ -I include -I src -I platform/include -I platform/host -I tools/quorin \
    --enable=warning,performance,portability --inline-suppr --error-exitcode=1 --quiet -j "$(nproc)" \
    src platform tools examples >&2; then
  echo "static_checks.sh: cppcheck found what stands above" >&2
  exit 1
fi

log=$1/clang-tidy.log
if ! packaging/clang_tidy.py "$1" "^$PWD/(src|platform|tools|examples)/" >"$log"; then
  escape=$(printf '\033')
  sed "s/$escape\[[0-9;]*m//g" "$log" | grep -E -A 6 '(warning|error):' | head -n 80
  echo "static_checks.sh: clang-tidy found something; all of it stands in $log" >&2
  exit 1
fi
