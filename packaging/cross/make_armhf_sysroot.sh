#!/bin/sh
# make_armhf_sysroot.sh DIRECTORY: fills DIRECTORY with what building for 32-bit ARM takes (packages.txt, need "armhf").
# A private package database is used: this machine's own architecture list and packages are not touched, and no root
# is needed. Does nothing when DIRECTORY was filled from the same list before.
set -eu
here=$(dirname "$(readlink -f "$0")")
. "$here/../private_apt.sh"
mkdir -p "$1"
sysroot=$(readlink -f "$1")
packages=$("$here/../packages.sh" list armhf)
stamp=$sysroot/.packages
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$packages" ]; then
  exit 0
fi

apt=$sysroot.apt
rm -rf "$sysroot"
mkdir -p "$sysroot"
# The security suite stays out: its ARM packages may lag behind, and nothing built here runs on a device.
make_private_apt "$apt" "deb [arch=armhf signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]" bookworm \
  bookworm-updates

armhf_apt() {
  private_apt "$apt" -o APT::Architecture=armhf -o APT::Architectures::=armhf -o APT::Install-Recommends=0 "$@"
}
# shellcheck disable=SC2086  # a list of names
fill() { armhf_apt update && armhf_apt -y --download-only install $packages; }

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
