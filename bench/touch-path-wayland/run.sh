#!/usr/bin/env bash
# Touch path on Wayland: "MOVE" datagrams to UDP port 41863 at 250 per second for 10 s under a
# headless compositor, timed from just before sendto() to the wl_pointer.motion a full-screen
# Wayland window receives (wayland_pointer_observer), through the application's dashboard
# (real socket, the poster it chooses) and, in the same run, through a minimal direct client:
#   touch-path-wayland [mutter]  tests/support/with-mutter; GNOME's remote desktop service, and
#                                a libdbus client calling NotifyPointerMotionAbsolute per datagram
#                                (mutter-touch-reference)
#   touch-path-wayland sway      tests/support/with-sway; the wlroots virtual pointer, and a
#                                wayland-client program sending motion_absolute and frame per
#                                datagram (wlr-touch-reference) Runs in a private network
# namespace; needs root. "lost" counts the application's datagrams that never reached the
# window; first/last are the p99 of the first and of the last second (no queueing: last <= first).
# TOUCH_PATH_ROUNDS (3) rounds of both; TOUCH_PATH_DUMP_DIR keeps each datagram's times.
# Last line: touch-path-wayland compositor=NAME ours_p50_us=N ours_p99_us=N ref_p50_us=N ref_p99_us=N
#            p99_ratio=R lost=N
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${ORVENTA_BUILD_DIR:-$root/build/release}
compositor=${1:-mutter}
case "$compositor" in
mutter) session=with-mutter reference=mutter-touch-reference ;;
sway) session=with-sway reference=wlr-touch-reference ;;
*) echo "usage: touch-path-wayland [mutter|sway]" >&2; exit 2 ;;
esac

if [ "${TOUCH_PATH_INSIDE:-}" != 1 ]; then
    [ "$(id -u)" -eq 0 ] || { echo "touch-path-wayland: needs root (private network namespace)" >&2; exit 1; }
    export TOUCH_PATH_INSIDE=1 ORVENTA_BUILD_DIR=$build
    exec unshare --net --pid --fork --kill-child --mount-proc "$root/tests/support/$session" "$0" "$@"
fi

. "$root/bench/private-net.sh"
private_route

rate=${TOUCH_PATH_RATE:-250}
seconds=${TOUCH_PATH_SECONDS:-10}
rounds=${TOUCH_PATH_ROUNDS:-3}
app=$build/bench/touch-path-wayland/touch-path-wayland-app
ref=$build/bench/touch-path-wayland/$reference
probe=$build/bench/touch-path-wayland/touch-path-wayland-probe
observer=$build/tests/wayland/wayland_pointer_observer
sim=$build/tools/receiver-sim/receiver-sim
work=$(mktemp -d /tmp/orventa-touch-path-wayland.XXXXXX)
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$work"' EXIT

(sleep infinity) | "$sim" 127.0.0.1 >"$work/sim.out" 2>&1 &
export QT_LOGGING_RULES="orventa.*.info=false"

start_subject() { # start_subject NAME CMD...: CMD's standard input on a FIFO; waits for "ready"
    local name=$1
    shift
    rm -f "$work/$name.in"
    mkfifo "$work/$name.in"
    "$@" <"$work/$name.in" >"$work/$name.out" 2>"$work/$name.err" &
    subject_pid=$!
    exec 7>"$work/$name.in"
    for _ in $(seq 1 300); do
        grep -q ready "$work/$name.out" 2>/dev/null && return 0
        kill -0 "$subject_pid" 2>/dev/null || break
        sleep 0.1
    done
    echo "touch-path-wayland: $name did not get ready:" >&2
    cat "$work/$name.out" "$work/$name.err" >&2
    exit 1
}
stop_subject() {
    exec 7>&-
    wait "$subject_pid" || true
}
field() { sed -n "s/.*\b$2=\([-0-9]*\).*/\1/p" <<<"$1"; }
# measure NAME: with TOUCH_PATH_DUMP_DIR set, each datagram's send and arrival times go to NAME.txt there.
measure() {
    TOUCH_PATH_DUMP="${TOUCH_PATH_DUMP_DIR:+$TOUCH_PATH_DUMP_DIR/$1.txt}" \
        "$probe" --observer "$observer" --port 41863 --rate "$rate" --seconds "$seconds"
}

# Rounds alternate which side goes first; each figure is the median over the rounds (this
# machine's scheduling noise moves single p99 figures a lot). lost is the sum over the rounds.
declare -a ours_p50s=() ours_p99s=() ref_p50s=() ref_p99s=() firsts=() lasts=()
lost=0
run_ours() {
    start_subject ours "$app" 127.0.0.1
    local line
    line=$(measure ours)
    stop_subject
    echo "round $round ours:      $line"
    ours_p50s+=("$(field "$line" p50_us)")
    ours_p99s+=("$(field "$line" p99_us)")
    firsts+=("$(field "$line" first_p99_us)")
    lasts+=("$(field "$line" last_p99_us)")
    lost=$((lost + $(field "$line" lost)))
}
run_reference() {
    start_subject reference "$ref" 41863 1440 900
    local line
    line=$(measure reference)
    stop_subject
    echo "round $round reference: $line"
    ref_p50s+=("$(field "$line" p50_us)")
    ref_p99s+=("$(field "$line" p99_us)")
}
for round in $(seq 1 "$rounds"); do
    if [ $((round % 2)) = 1 ]; then run_ours; run_reference; else run_reference; run_ours; fi
done
median() { printf '%s\n' "$@" | sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

ours_p99=$(median "${ours_p99s[@]}")
ref_p99=$(median "${ref_p99s[@]}")
first=$(median "${firsts[@]}")
last=$(median "${lasts[@]}")
queueing=no
[ "$last" -le "$first" ] || queueing=yes
echo "ours: p99 of the first second ${first} us, of the last second ${last} us (medians; last above first: $queueing)"
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }'; }
echo "touch-path-wayland compositor=$compositor ours_p50_us=$(median "${ours_p50s[@]}") ours_p99_us=$ours_p99" \
    "ref_p50_us=$(median "${ref_p50s[@]}") ref_p99_us=$ref_p99" \
    "p99_ratio=$(ratio "$ours_p99" "$ref_p99") lost=$lost"
