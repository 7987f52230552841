#!/usr/bin/env bash
# receiver-sim --announce publishes "_airplay._tcp" through a real avahi-daemon. Everything runs
# in private namespaces (network, mount, pid) with their own /run, D-Bus system bus and daemon,
# answering on loopback only.
#   sim_announce_test.sh RECEIVER_SIM
set -euo pipefail
sim=$1
if [ "${ORVENTA_IN_NETNS:-}" != 1 ]; then
    export ORVENTA_IN_NETNS=1
    exec unshare --net --mount --uts --pid --fork --kill-child --mount-proc --propagation private \
        -- "$0" "$@"
fi
ip link set lo up
ip link set lo multicast on
mount -t tmpfs tmpfs /run
mkdir -p /run/dbus /run/avahi-daemon
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dbus-daemon --system --fork
cat >"$work/avahi.conf" <<CONF
[server]
allow-interfaces=lo
use-ipv6=no
enable-dbus=yes
[wide-area]
enable-wide-area=no
[publish]
publish-workstation=no
CONF
avahi-daemon -f "$work/avahi.conf" --no-drop-root --no-chroot --no-rlimits >"$work/avahi.log" 2>&1 &
for _ in $(seq 100); do grep -qs "Server startup complete" "$work/avahi.log" && break; sleep 0.1; done
grep -q "Server startup complete" "$work/avahi.log" || { cat "$work/avahi.log"; exit 1; }

name='Brevik-X1|Room 12|7f000001'
"$sim" 127.0.0.1 --control-port 25300 --upload-port 25301 --announce "$name" \
    >"$work/sim.out" 2>&1 </dev/null &
for _ in $(seq 100); do grep -qs "^announced" "$work/sim.out" && break; sleep 0.1; done
grep -qx "announced $name" "$work/sim.out" || { cat "$work/sim.out"; exit 1; }

# Resolved entries: =;iface;proto;name;type;domain;host;address;port;txt ("|" shows as \124)
found=$(avahi-browse -rptk _airplay._tcp | grep '^=' || true)
echo "$found"
echo "$found" | grep -qF ';IPv4;Brevik-X1\124Room\03212\1247f000001;_airplay._tcp;local;' || exit 1
echo "$found" | grep -q ';127.0.0.1;7000;' || exit 1
echo "announce: ok"
