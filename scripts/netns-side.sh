#!/usr/bin/env bash
# One side of a private network: run inside a network namespace as the first process of new
# mount and PID namespaces, e.g.
#   ip netns exec NS unshare --mount --propagation private --pid --fork --kill-child \
#       --mount-proc scripts/netns-side.sh --interfaces lo --host-name NAME --workdir DIR -- CMD...
# It gives the namespace its own /run (tmpfs) with a D-Bus system bus and an avahi-daemon that
# serves the given interfaces (IPv4 only), waits until Avahi is up, then runs CMD. When CMD ends,
# this process ends and the kernel ends every other process of the PID namespace with it.
set -euo pipefail

interfaces=lo
host_name=orventa-side
workdir=
while [ $# -gt 0 ]; do
    case "$1" in
        --interfaces) interfaces=$2; shift 2 ;;
        --host-name) host_name=$2; shift 2 ;;
        --workdir) workdir=$2; shift 2 ;;
        --) shift; break ;;
        *) echo "netns-side: unknown option $1" >&2; exit 2 ;;
    esac
done
[ -n "$workdir" ] || { echo "netns-side: --workdir is required" >&2; exit 2; }
[ $# -gt 0 ] || { echo "netns-side: no command" >&2; exit 2; }
mkdir -p "$workdir"

mount -t tmpfs -o mode=755 tmpfs /run
mkdir -p /run/dbus /run/avahi-daemon /run/user
dbus-daemon --system --fork --nopidfile

cat >"$workdir/avahi-daemon.conf" <<EOF
[server]
host-name=$host_name
use-ipv4=yes
use-ipv6=no
allow-interfaces=$interfaces
enable-dbus=yes
ratelimit-interval-usec=1000000
ratelimit-burst=1000
[wide-area]
enable-wide-area=no
[publish]
publish-hinfo=no
publish-workstation=no
[reflector]
[rlimits]
EOF
avahi_log="$workdir/avahi-daemon.log"
avahi-daemon -f "$workdir/avahi-daemon.conf" --no-drop-root --no-chroot --no-rlimits \
    >"$avahi_log" 2>&1 &
for _ in $(seq 1 100); do
    grep -q "Server startup complete" "$avahi_log" 2>/dev/null && break
    sleep 0.1
done
if ! grep -q "Server startup complete" "$avahi_log"; then
    echo "netns-side: avahi-daemon did not start; its log:" >&2
    cat "$avahi_log" >&2
    exit 1
fi

# Not exec: this shell stays the namespace's first process, so its end ends the daemons.
set +e
"$@"
status=$?
exit $status
