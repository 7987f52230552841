#!/usr/bin/env bash
# Demo mode: the application and a simulated receiver in a private network namespace, with the
# application's window on your display. The receiver ("Brevik-Demo", room "Demo Room") is
# announced over mDNS by the namespace's own avahi-daemon, answers the heartbeat, moves the
# pointer around the middle of the screen while touchback is on, and keeps uploaded files in a
# folder printed at start. Closing the window ends the demo and removes the namespace.
#   sudo -E scripts/demo.sh [--build-dir DIR]
# Needs root (namespaces) and a local X display (DISPLAY=:N); the X socket in /tmp/.X11-unix is
# shared with the namespace, and XAUTHORITY is passed on.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build_dir=$root/build/release
while [ $# -gt 0 ]; do
    case "$1" in
        --build-dir) build_dir=$2; shift 2 ;;
        *) echo "demo: unknown option $1" >&2; exit 2 ;;
    esac
done

app=$build_dir/src/app/orventa-companion
sim=$build_dir/tools/receiver-sim/receiver-sim
for program in "$app" "$sim"; do
    [ -x "$program" ] || { echo "demo: $program is missing; build it first (bash scripts/run.sh --demo does)" >&2; exit 1; }
done
[ "$(id -u)" -eq 0 ] || { echo "demo: run as root (it creates a network namespace): sudo -E $0" >&2; exit 1; }
case "${DISPLAY:-}" in
    :*|unix:*) ;;
    *) echo "demo: needs a local X display (DISPLAY=:N), not '${DISPLAY:-}'" >&2; exit 1 ;;
esac

workdir=$(mktemp -d /tmp/orventa-demo.XXXXXX)
chmod 755 "$workdir"
ns=orventa-demo-$$
# The namespace's only network: a veth pair inside it, 10.77.0.1 on demo0 carrying the default
# route (so the application finds its own address) and the receiver listening on the same
# address. mDNS runs on the loopback interface; nothing leaves the namespace.
cleanup() { ip netns del "$ns" 2>/dev/null || true; }
trap cleanup EXIT
ip netns add "$ns"
ip -n "$ns" link set lo up
ip -n "$ns" link add demo0 type veth peer name demo1
ip -n "$ns" addr add 10.77.0.1/24 dev demo0
ip -n "$ns" link set demo1 up
ip -n "$ns" link set demo0 up
ip -n "$ns" route add default dev demo0

echo "demo: receiver 'Brevik-Demo' (Demo Room) at 10.77.0.1"
echo "demo: uploaded and dropped files are kept in $workdir/uploads"
echo "demo: receiver log (one JSON line per request): $workdir/receiver.jsonl"
echo "demo: close the application's window to end the demo"
ip netns exec "$ns" unshare --mount --propagation private --pid --fork --kill-child --mount-proc \
    "$root/scripts/netns-side.sh" --interfaces lo --host-name orventa-demo --workdir "$workdir" -- \
    "$root/scripts/demo-inside.sh" "$app" "$sim" "$workdir"
