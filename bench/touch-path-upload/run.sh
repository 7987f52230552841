#!/usr/bin/env bash
# Touch path during an upload: "MOVE" datagrams to UDP port 41863 at 1,000 per second for 10 s,
# timed from just before sendto() to the XI_RawMotion event on the X server (bench/touch-path's
# probe), through the application's dashboard, in rounds against the same application: each
# round measures once idle, then once while it uploads a 1 GiB file to receiver-sim over and over
# (a new upload as soon as one ends, so that every touch of that measurement meets a running
# upload). These machines are shared and a single p99 swings several-fold, so the figures are
# the medians over the rounds.
#   bench/run touch-path-upload [ROUNDS]      (default 3)
# Runs in a private network namespace with a private Xvfb; needs root.
# "lost" counts the datagrams of all measurements that never moved the pointer.
# Last line: touch-path-upload idle_p99_us=MEDIAN busy_p99_us=MEDIAN ratio=R lost=N
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${ORVENTA_BUILD_DIR:-$root/build/release}

if [ "${TOUCH_PATH_UPLOAD_INSIDE:-}" != 1 ]; then
    [ "$(id -u)" -eq 0 ] || { echo "touch-path-upload: needs root (private network namespace)" >&2; exit 1; }
    export TOUCH_PATH_UPLOAD_INSIDE=1 ORVENTA_BUILD_DIR=$build
    # A PID namespace too: whatever is left when the run ends goes with it.
    exec unshare --net --pid --fork --kill-child --mount-proc "$root/tests/support/with-xvfb" "$0" "$@"
fi

# Inside: loopback, and a veth pair whose end carries the default route, so the application has
# a local address to put in its requests. The receiver simulator answers them on 127.0.0.1.
. "$root/bench/private-net.sh"
private_route

rounds=${1:-3}
rate=${TOUCH_PATH_RATE:-1000}
seconds=${TOUCH_PATH_SECONDS:-10}
app=$build/bench/touch-path-upload/touch-path-upload-app
probe=$build/bench/touch-path/touch-path-probe
sim=$build/tools/receiver-sim/receiver-sim
# Touches land below and right of the application's window (900x600 at the top left), so the
# pointer passing over it does not add hover repaints to the figures.
area=950,650,1400,890
work=$(mktemp -d /tmp/orventa-touch-path-upload.XXXXXX)
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$work"' EXIT

# 1 GiB: a sparse file with random bytes at the start and at the end. The simulator checks each
# upload but stores nothing (no --upload-dir).
file=$work/big.mp4
truncate -s 1G "$file"
head -c 4M /dev/urandom | dd of="$file" conv=notrunc status=none
head -c 4M /dev/urandom | dd of="$file" bs=1M seek=1020 conv=notrunc status=none
# Into the page cache before anything is measured: on these virtual machines the first read of a
# fresh file stalls every thread for up to 20 ms while the host hands over the memory (measured
# with a plain cat of the file and no upload), which would land in the first busy figures only.
cat "$file" >/dev/null

# The simulator stands for the receiver, another computer; here it shares the application's
# cores, so it runs at the lowest priority and takes only the time the touch path leaves.
(sleep infinity) | nice -n 19 "$sim" 127.0.0.1 --log "$work/sim.jsonl" >"$work/sim.out" 2>&1 &
export QT_QPA_PLATFORM=xcb QT_LOGGING_RULES="orventa.*.info=false"

mkfifo "$work/app.in"
"$app" 127.0.0.1 <"$work/app.in" >"$work/app.out" 2>"$work/app.err" &
app_pid=$!
exec 7>"$work/app.in"
# wait_for TEXT [N]: until the application has printed N lines (default 1) holding TEXT.
wait_for() {
    for _ in $(seq 1 1200); do
        [ "$(grep -c "$1" "$work/app.out" 2>/dev/null)" -ge "${2:-1}" ] && return 0
        kill -0 "$app_pid" 2>/dev/null || break
        sleep 0.1
    done
    echo "touch-path-upload: the application did not print \"$1\":" >&2
    cat "$work/app.out" "$work/app.err" >&2
    exit 1
}
field() { sed -n "s/.* $2=\([-0-9]*\).*/\1/p" <<<"$1"; }

wait_for ready
median() { sort -n | awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}'; }
idle_p99s=() busy_p99s=() lost=0
for round in $(seq "$rounds"); do
    idle=$("$probe" --port 41863 --area "$area" --rate "$rate" --seconds "$seconds")
    echo "upload $file" >&7
    wait_for uploading "$round"
    busy=$("$probe" --port 41863 --area "$area" --rate "$rate" --seconds "$seconds")
    echo "stop" >&7
    wait_for "uploads=" "$round"
    completed=$(sed -n 's/^uploads=//p' "$work/app.out" | tail -n1)
    idle_p99s+=("$(field "$idle" p99_us)")
    busy_p99s+=("$(field "$busy" p99_us)")
    lost=$((lost + $(field "$idle" lost) + $(field "$busy" lost)))
    echo "round $round: idle: $idle"
    echo "round $round: busy: $busy ($completed uploads of 1 GiB completed)"
done
exec 7>&-
wait "$app_pid" || true

idle_p99=$(printf '%s\n' "${idle_p99s[@]}" | median)
busy_p99=$(printf '%s\n' "${busy_p99s[@]}" | median)
ratio=$(awk -v a="$busy_p99" -v b="$idle_p99" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }')
echo "touch-path-upload idle_p99_us=$idle_p99 busy_p99_us=$busy_p99 ratio=$ratio lost=$lost"
