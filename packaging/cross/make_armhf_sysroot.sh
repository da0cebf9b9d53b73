#!/bin/sh
# make_armhf_sysroot.sh DIRECTORY: fills DIRECTORY with what building for 32-bit ARM takes (packages.txt, need "armhf").
# A private package database is used: this machine's own architecture list and packages are not touched, and no root
# is needed. Does nothing when DIRECTORY was filled from the same list before.
set -eu
here=$(dirname "$(readlink -f "$0")")
mkdir -p "$1"
sysroot=$(readlink -f "$1")
packages=$("$here/../packages.sh" list armhf)
stamp=$sysroot/.packages
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$packages" ]; then
  exit 0
fi

keyring=/usr/share/keyrings/debian-archive-keyring.gpg
# The archive that this machine's own apt uses, in either form of its configuration.
mirror=$(cat /etc/apt/sources.list.d/*.sources 2>/dev/null | sed -n 's/^URIs: *//p' | grep '/debian/*$' | head -n 1)
if [ -z "$mirror" ]; then
  mirror=$(cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
    sed -n 's/^deb  *\(\[[^]]*\] *\)\{0,1\}\([^ ]*\) .*/\2/p' | grep '/debian/*$' | head -n 1)
fi
if [ -z "$mirror" ]; then
  echo "make_armhf_sysroot.sh: no Debian archive in /etc/apt" >&2
  exit 1
fi

apt=$sysroot.apt
rm -rf "$apt" "$sysroot"
mkdir -p "$sysroot" "$apt/etc/apt/apt.conf.d" "$apt/etc/apt/preferences.d" "$apt/var/lib/apt/lists/partial" \
  "$apt/var/cache/apt/archives/partial" "$apt/var/lib/dpkg"
: >"$apt/var/lib/dpkg/status"
# The security suite stays out: its ARM packages may lag behind, and nothing built here runs on a device.
for suite in bookworm bookworm-updates; do
  echo "deb [arch=armhf signed-by=$keyring] $mirror $suite main"
done >"$apt/etc/apt/sources.list"

private_apt() {
  apt-get -o Dir="$apt" -o Dir::State::status="$apt/var/lib/dpkg/status" -o Dir::Log="$apt" \
    -o APT::Architecture=armhf -o APT::Architectures::=armhf -o APT::Install-Recommends=0 -o APT::Sandbox::User= \
    -o Debug::NoLocking=1 -q "$@" </dev/null
}
# shellcheck disable=SC2086  # a list of names
fill() { private_apt update && private_apt -y --download-only install $packages; }

echo "Filling the 32-bit ARM sysroot $sysroot" >&2
if ! fill >"$apt/log" 2>&1; then
  tail -n 20 "$apt/log" >&2
  echo "make_armhf_sysroot.sh: downloading failed; the last lines of apt-get stand above" >&2
  exit 1
fi
for package in "$apt"/var/cache/apt/archives/*.deb; do
  dpkg-deb -x "$package" "$sysroot"
done
# Links with an absolute target would leave the sysroot.
find "$sysroot" -type l | while read -r link; do
  target=$(readlink "$link")
  case $target in
    /*) ln -sfnr "$sysroot$target" "$link" ;;
  esac
done
rm -rf "$apt"
echo "$packages" >"$stamp"
