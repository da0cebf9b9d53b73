#!/bin/sh
# packages.sh list NEED...      the packages that one of the needs takes, from packages.txt
# packages.sh install NEED...   installs those that are missing; says which, and what failed
set -eu
here=$(dirname "$(readlink -f "$0")")

list() {
  awk -v needs="$*" '
    BEGIN { split(needs, wanted, " ") }
    /^[^#]/ { for (i = 2; i <= NF; i++) for (n in wanted) if ($i == wanted[n]) found[$1] = 1 }
    END { for (name in found) print name }' "$here/packages.txt" | sort
}

is_installed() { [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

install() {
  missing=
  for package in $(list "$@"); do
    is_installed "$package" || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  echo "Installing these packages:$missing" >&2
  if [ "$(id -u)" != 0 ] && ! command -v sudo >/dev/null; then
    echo "This takes root: run it as root, or install sudo." >&2
    return 1
  fi
  log=$(mktemp)
  # -q: without a terminal apt would fill the log with progress.
  # shellcheck disable=SC2086  # a list of names
  if { as_root apt-get -q update && as_root env DEBIAN_FRONTEND=noninteractive apt-get -q install -y \
      --no-install-recommends $missing; } >"$log" 2>&1 </dev/null; then
    rm -f "$log"
    return 0
  fi
  tail -n 20 "$log" >&2
  rm -f "$log"
  echo "Installing failed; the last lines of apt-get stand above." >&2
  return 1
}

command=$1
shift
"$command" "$@"
