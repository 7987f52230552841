#!/usr/bin/env bash
# End-to-end run of one session between the application and the receiver simulator, each in its
# own network namespace, joined by a veth pair (receiver 10.77.0.1, presenter 10.77.0.2 with the
# default route), each with its own /run, D-Bus system bus and avahi-daemon. The presenter side
# also has its own Xvfb, an XInput2 raw-event observer and an AT-SPI driver (e2e_driver.py).
#   run_e2e.sh APP RECEIVER_SIM XI_OBSERVER X_CLICK XDND_DROP
#   run_e2e.sh --wayland APP RECEIVER_SIM WAYLAND_OBSERVER
# With --wayland the presenter side is a headless GNOME Wayland session instead
# (presenter_side_wayland.sh) and the touches are watched by a Wayland client.
# Exit status: 0 passed, 1 failed, 77 skipped (not root).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
presenter=$here/presenter_side.sh
if [ "${1:-}" = --wayland ]; then
    presenter=$here/presenter_side_wayland.sh
    shift
fi
app=$1
sim=$2
observer=$3
export E2E_X_CLICK=${4:-} E2E_XDND_DROP=${5:-}
if [ "$(id -u)" -ne 0 ]; then
    echo "e2e: needs root for network namespaces; skipped"
    exit 77
fi

work=$(mktemp -d /tmp/orventa-e2e.XXXXXX)
chmod 755 "$work"
rx=orv-e2e-rx-$$
pr=orv-e2e-pr-$$
cleanup() {
    # unshare --fork ignores SIGTERM; SIGKILL ends it, and --kill-child then ends the side's
    # first process, which takes every process of its PID namespace with it.
    [ -n "${rx_pid:-}" ] && kill -KILL "$rx_pid" 2>/dev/null
    ip netns del "$rx" 2>/dev/null || true
    ip netns del "$pr" 2>/dev/null || true
}
trap cleanup EXIT

ip netns add "$rx"
ip netns add "$pr"
ip -n "$rx" link set lo up
ip -n "$pr" link set lo up
ip -n "$rx" link add v-rx type veth peer name v-pr netns "$pr"
ip -n "$rx" addr add 10.77.0.1/24 dev v-rx
ip -n "$pr" addr add 10.77.0.2/24 dev v-pr
ip -n "$rx" link set v-rx up
ip -n "$pr" link set v-pr up
ip -n "$pr" route add default via 10.77.0.1 dev v-pr

in_side=(unshare --mount --propagation private --pid --fork --kill-child --mount-proc
         "$root/scripts/netns-side.sh")
# Started directly (not through a function), so that $! is the unshare process itself.
ip netns exec "$rx" "${in_side[@]}" --interfaces v-rx --host-name e2e-receiver \
    --workdir "$work/rx" -- "$here/receiver_side.sh" "$sim" "$work" >"$work/receiver-side.log" 2>&1 &
rx_pid=$!
# The presenter starts once the receiver serves (its command FIFO exists from then on).
for _ in $(seq 1 200); do
    grep -q '^ready' "$work/receiver.out" 2>/dev/null && break
    sleep 0.1
done
if ! grep -q '^ready' "$work/receiver.out" 2>/dev/null; then
    echo "e2e: the receiver simulator did not start:"
    cat "$work/receiver-side.log" "$work/receiver.out" 2>/dev/null
    exit 1
fi

set +e
ip netns exec "$pr" "${in_side[@]}" --interfaces v-pr --host-name e2e-presenter \
    --workdir "$work/pr" -- "$presenter" "$app" "$observer" "$work" \
    "$here/e2e_driver.py"
status=$?
set -e
if [ $status -ne 0 ]; then
    echo "e2e: FAILED; logs in $work:"
    for f in "$work"/*.log "$work"/*.jsonl "$work"/*.out; do
        [ -f "$f" ] || continue
        echo "----- $f (last 40 lines)"
        tail -n 40 "$f"
    done
    exit 1
fi
rm -rf "$work"
echo "e2e: passed"
