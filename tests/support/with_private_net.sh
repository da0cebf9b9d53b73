#!/bin/sh
# with_private_net.sh COMMAND...: runs COMMAND where only a loopback of its own exists: every port is free, so tests
# run side by side, and nothing can leave the machine; multicasts go there too, for servers that announce themselves.
# Where the machine allows no such network, COMMAND runs as it is.
set -eu
if [ "$(id -u)" = 0 ]; then own_network="unshare -n"; else own_network="unshare -cn --keep-caps"; fi
if $own_network ip link set lo up 2>/dev/null; then
  exec $own_network sh -c 'ip link set lo up multicast on && ip route add 224.0.0.0/4 dev lo && exec "$@"' sh "$@"
fi
exec "$@"
