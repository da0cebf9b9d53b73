# To be read by shell scripts: an apt of their own, with lists and packages in a folder. This machine's own apt is not
# touched, and no root is needed.

# debian_archive: the archive that this machine's own apt uses, in either form of its configuration.
debian_archive() {
  archive=$(cat /etc/apt/sources.list.d/*.sources 2>/dev/null | sed -n 's/^URIs: *//p' | grep '/debian/*$' | head -n 1)
  if [ -z "$archive" ]; then
    archive=$(cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
      sed -n 's/^deb  *\(\[[^]]*\] *\)\{0,1\}\([^ ]*\) .*/\2/p' | grep '/debian/*$' | head -n 1)
  fi
  if [ -z "$archive" ]; then
    echo "private_apt.sh: no Debian archive in /etc/apt" >&2
    return 1
  fi
  echo "$archive"
}

# make_private_apt FOLDER KIND SUITE...: an apt in FOLDER, which is made anew, for the suites of the archive. KIND is how
# a source begins, such as "deb-src" or "deb [arch=armhf]".
make_private_apt() {
  apt=$1
  kind=$2
  shift 2
  from=$(debian_archive) || return 1
  rm -rf "$apt"
  mkdir -p "$apt/etc/apt/apt.conf.d" "$apt/etc/apt/preferences.d" "$apt/var/lib/apt/lists/partial" \
    "$apt/var/cache/apt/archives/partial" "$apt/var/lib/dpkg"
  : >"$apt/var/lib/dpkg/status"
  for suite in "$@"; do
    echo "$kind $from $suite main"
  done >"$apt/etc/apt/sources.list"
}

# private_apt FOLDER ARGUMENTS...: apt-get ARGUMENTS
private_apt() {
  apt=$1
  shift
  apt-get -o Dir="$apt" -o Dir::State::status="$apt/var/lib/dpkg/status" -o Dir::Log="$apt" \
    -o APT::Sandbox::User= -o Debug::NoLocking=1 -q "$@" </dev/null
}
