#!/usr/bin/env bash
# Touch path: "MOVE" datagrams to UDP port 41863 at 1,000 per second for 10 s, timed from just
# before sendto() to the XI_RawMotion event on the X server, through the application's dashboard
# (real socket, real XTest poster) and, in the same run, through the minimal C reference
# (udp-touch-reference). Then instructions per datagram for both under callgrind, collected only
# inside the handling of one datagram (socket read, parsing, the poster, the X flush: ours
# DashboardViewController::receiveTouchDatagram, the reference's receive_touch), so timers and
# the idle event loop are not counted; the difference of two run lengths leaves out one-time
# set-up (the first datagram's lazy work). Everything runs in a private network namespace
# (loopback and a veth pair inside it) with a private Xvfb; needs root.
# "lost" counts the application's datagrams that never moved the pointer.
# Last line: touch-path ours_p50_us=N ours_p99_us=N ref_p50_us=N ref_p99_us=N p99_ratio=R lost=N
#            ours_ir=N ref_ir=N ir_ratio=R
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${ORVENTA_BUILD_DIR:-$root/build/release}

if [ "${TOUCH_PATH_INSIDE:-}" != 1 ]; then
    [ "$(id -u)" -eq 0 ] || { echo "touch-path: needs root (private network namespace)" >&2; exit 1; }
    export TOUCH_PATH_INSIDE=1 ORVENTA_BUILD_DIR=$build
    # A PID namespace too: whatever is left when the run ends goes with it.
    exec unshare --net --pid --fork --kill-child --mount-proc "$root/tests/support/with-xvfb" "$0" "$@"
fi

# Inside: loopback, and a veth pair whose end carries the default route, so the application has
# a local address to put in its requests. The receiver simulator answers them on 127.0.0.1.
. "$root/bench/private-net.sh"
private_route

rate=${TOUCH_PATH_RATE:-1000}
seconds=${TOUCH_PATH_SECONDS:-10}
short=${TOUCH_PATH_IR_SHORT:-200}
long=${TOUCH_PATH_IR_LONG:-1200}
app=$build/bench/touch-path/touch-path-app
ref=$build/bench/touch-path/udp-touch-reference
probe=$build/bench/touch-path/touch-path-probe
sim=$build/tools/receiver-sim/receiver-sim
# Touches land below and right of the application's window (900x600 at the top left), so the
# pointer passing over it does not add hover repaints to the figures.
area=950,650,1400,890
work=$(mktemp -d /tmp/orventa-touch-path.XXXXXX)
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$work"' EXIT

(sleep infinity) | "$sim" 127.0.0.1 >"$work/sim.out" 2>&1 &
export QT_QPA_PLATFORM=xcb QT_LOGGING_RULES="orventa.*.info=false"

# start_subject NAME CMD...: starts CMD with its standard input on a FIFO, waits for "ready".
start_subject() {
    local name=$1
    shift
    rm -f "$work/$name.in"
    mkfifo "$work/$name.in"
    "$@" <"$work/$name.in" >"$work/$name.out" 2>"$work/$name.err" &
    subject_pid=$!
    exec 7>"$work/$name.in"
    for _ in $(seq 1 1200); do
        grep -q ready "$work/$name.out" 2>/dev/null && return 0
        kill -0 "$subject_pid" 2>/dev/null || break
        sleep 0.1
    done
    echo "touch-path: $name did not get ready:" >&2
    cat "$work/$name.out" "$work/$name.err" >&2
    exit 1
}
stop_subject() {
    exec 7>&-
    wait "$subject_pid" || true
}
field() { sed -n "s/.* $2=\([-0-9]*\).*/\1/p" <<<"$1"; }

start_subject ours "$app" 127.0.0.1
ours=$("$probe" --port 41863 --area "$area" --rate "$rate" --seconds "$seconds")
stop_subject
echo "ours:      $ours"
start_subject reference "$ref" 41863
reference=$("$probe" --port 41863 --area "$area" --rate "$rate" --seconds "$seconds")
stop_subject
echo "reference: $reference"

# Instructions per datagram: callgrind totals, collected inside the handler only, of a short and
# a long closed-loop run.
instructions() { # instructions NAME COUNT HANDLER CMD...
    local name=$1 count=$2 handler=$3
    shift 3
    start_subject "$name-$count" valgrind --tool=callgrind --toggle-collect="$handler" \
        --callgrind-out-file="$work/$name-$count.cg" "$@"
    "$probe" --port 41863 --area "$area" --closed "$count" >"$work/$name-$count.probe"
    stop_subject
    local total
    total=$(sed -n 's/^summary: \([0-9]*\).*/\1/p' "$work/$name-$count.cg" | head -n1)
    if [ -z "$total" ] || [ "$total" -le 0 ]; then
        echo "touch-path: nothing collected in $handler for $name (renamed or inlined?)" >&2
        exit 1
    fi
    echo "$total"
}
per_datagram() { # per_datagram NAME HANDLER CMD...
    local name=$1
    shift
    local a b
    a=$(instructions "$name" "$short" "$@") || exit 1
    b=$(instructions "$name" "$long" "$@") || exit 1
    echo "$name: $a instructions in $short datagrams, $b in $long" >&2
    echo $(((b - a) / (long - short)))
}
# An hour-long heartbeat interval keeps the slow runs under callgrind quiet (none of its work
# would be collected anyway).
ours_ir=$(per_datagram ours 'DashboardViewController::receiveTouchDatagram*' "$app" 127.0.0.1 3600000)
ref_ir=$(per_datagram reference 'receive_touch' "$ref" 41863)
echo "instructions per datagram: ours $ours_ir, reference $ref_ir ($short and $long datagrams)"

ours_p50=$(field "$ours" p50_us)
ours_p99=$(field "$ours" p99_us)
ref_p50=$(field "$reference" p50_us)
ref_p99=$(field "$reference" p99_us)
lost=$(field "$ours" lost)
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }'; }
echo "touch-path ours_p50_us=$ours_p50 ours_p99_us=$ours_p99 ref_p50_us=$ref_p50" \
    "ref_p99_us=$ref_p99 p99_ratio=$(ratio "$ours_p99" "$ref_p99") lost=$lost" \
    "ours_ir=$ours_ir ref_ir=$ref_ir ir_ratio=$(ratio "$ours_ir" "$ref_ir")"
