#!/bin/sh
# static_checks.sh BUILD: clang-tidy over everything that ships, with the compile commands of the clang++ build BUILD.
set -eu
cd "$(dirname "$(readlink -f "$0")")/.."
log=$1/clang-tidy.log
if ! run-clang-tidy-14 -quiet -j "$(nproc)" -p "$1" "$PWD/(src|platform|tools|examples)/" >"$log" 2>/dev/null; then
  escape=$(printf '\033')
  sed "s/$escape\[[0-9;]*m//g" "$log" | grep -E -A 6 '(warning|error):' | head -n 80
  echo "static_checks.sh: clang-tidy found something; all of it stands in $log" >&2
  exit 1
fi
