#!/usr/bin/env bash
# Soak: a working day compressed. The application (dashboard, real touch socket, XTest poster
# on a private Xvfb) stays paired with receiver-sim while the heartbeat ticks SOAK_TICKS times
# (21,600: six hours at 1 s, or a day's 4 s ticks) at a SOAK_HEARTBEAT_MS interval (25 ms),
# with SOAK_TOUCHES touch datagrams (a million) at a steady rate, SOAK_UPLOADS uploads (a
# hundred) and as many switch off/on cycles spread evenly over the ticks. Resident memory, open
# file descriptors and threads are sampled every SOAK_SAMPLE_S seconds (3). The level after
# warm-up is the sample taken at a tenth of the ticks. Runs in private network and PID
# namespaces; needs root.
# Last line: soak ticks=N touches=N uploads=N rss_start_kib=N rss_end_kib=N rss_max_kib=N
#            fds_start=N fds_end=N
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${ORVENTA_BUILD_DIR:-$root/build/release}

if [ "${SOAK_INSIDE:-}" != 1 ]; then
    [ "$(id -u)" -eq 0 ] || { echo "soak: needs root (private network namespace)" >&2; exit 1; }
    export SOAK_INSIDE=1 ORVENTA_BUILD_DIR=$build
    exec unshare --net --pid --fork --kill-child --mount-proc "$root/tests/support/with-xvfb" "$0" "$@"
fi

# Loopback, and a veth pair whose end carries the default route, so the application has a local
# address for its requests. The receiver simulator answers on 127.0.0.1.
. "$root/bench/private-net.sh"
private_route

ticks_target=${SOAK_TICKS:-21600}
interval=${SOAK_HEARTBEAT_MS:-25}
touches_target=${SOAK_TOUCHES:-1000000}
uploads_target=${SOAK_UPLOADS:-100}
sample_s=${SOAK_SAMPLE_S:-3}
# The touches are spread over about the time the ticks take.
rate=${SOAK_TOUCH_RATE:-$((touches_target * 1000 / (ticks_target * interval) + 1))}
app=$build/bench/soak/soak-app
sim=$build/tools/receiver-sim/receiver-sim
work=$(mktemp -d /tmp/orventa-soak.XXXXXX)
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$work"' EXIT
mkdir "$work/uploads"
head -c 1048576 /dev/urandom >"$work/slide.png"

mkfifo "$work/sim.in"
"$sim" 127.0.0.1 --upload-dir "$work/uploads" --log "$work/sim.jsonl" \
    <"$work/sim.in" >"$work/sim.out" 2>&1 &
exec 8>"$work/sim.in"
for _ in $(seq 1 300); do grep -q ready "$work/sim.out" 2>/dev/null && break; sleep 0.1; done

export QT_QPA_PLATFORM=xcb QT_LOGGING_RULES="orventa.*.info=false"
mkfifo "$work/app.in"
"$app" 127.0.0.1 "$interval" <"$work/app.in" >"$work/app.out" 2>"$work/app.err" &
app_pid=$!
exec 7>"$work/app.in"
for _ in $(seq 1 600); do
    grep -q ready "$work/app.out" 2>/dev/null && break
    kill -0 "$app_pid" 2>/dev/null || { cat "$work/app.err" >&2; exit 1; }
    sleep 0.1
done
grep -q ready "$work/app.out" || { echo "soak: the application did not get ready" >&2; exit 1; }

echo 0 >"$work/touches"
"$here/touch_sender.py" "$touches_target" "$rate" "$work/touches" &
sender_pid=$!

logged() { # logged PATH: requests to PATH so far
    local n
    n=$(grep -c "\"$1" "$work/sim.jsonl" 2>/dev/null) || true
    echo "${n:-0}"
}
ticks() { logged /pingServerWithIP; }
uploads() { logged /uploadfile; }
sample() { # prints "rss_kib fds threads"
    local rss threads fds
    rss=$(awk '/^VmRSS:/ { print $2 }' "/proc/$app_pid/status")
    threads=$(awk '/^Threads:/ { print $2 }' "/proc/$app_pid/status")
    fds=$(ls "/proc/$app_pid/fd" | wc -l)
    echo "$rss $fds $threads"
}

echo "soak: $ticks_target ticks at $interval ms, $touches_target touches at $rate/s," \
    "$uploads_target uploads and switch cycles"
printf 'seconds ticks touches uploads rss_kib fds threads\n' >"$work/samples"
started=$SECONDS
events=0 rss_start='' fds_start='' rss_max=0
# What the application's descriptors are, by kind, and its TCP connections by peer.
describe_fds() {
    echo "descriptors $1: $(for f in /proc/"$app_pid"/fd/*; do readlink "$f"; done 2>/dev/null \
        | sed 's/:\[.*//; s|^/.*|file|' | sort | uniq -c | tr -s ' \n' ' ')"
    echo "connections $1: $(ss -Htn state established 2>/dev/null | awk '{print $4}' | sort \
        | uniq -c | tr -s ' \n' ' ')"
}
while :; do
    sleep "$sample_s"
    kill -0 "$app_pid" 2>/dev/null || { echo "soak: the application ended" >&2; cat "$work/app.err" >&2; exit 1; }
    t=$(ticks)
    read -r rss fds threads < <(sample)
    touches=$(cat "$work/touches")
    echo "$((SECONDS - started)) $t $touches $(uploads) $rss $fds $threads" | tee -a "$work/samples"
    ((rss > rss_max)) && rss_max=$rss
    if [ -z "$rss_start" ] && ((t >= ticks_target / 10)); then
        rss_start=$rss fds_start=$fds
        describe_fds "after warm-up"
    fi
    # One upload and one switch cycle per hundredth of the ticks.
    while ((events < uploads_target && t >= (events + 1) * ticks_target / (uploads_target + 1))); do
        echo "upload $work/slide.png" >&7
        echo cycle >&7
        events=$((events + 1))
    done
    ((t >= ticks_target)) && ! kill -0 "$sender_pid" 2>/dev/null && break
done
# Let the last uploads finish, then take the final sample.
for _ in $(seq 1 100); do (($(uploads) >= uploads_target)) && break; sleep 0.2; done
sleep "$sample_s"
read -r rss_end fds_end threads_end < <(sample)
describe_fds "at the end"
((rss_end > rss_max)) && rss_max=$rss_end
grep -c '^alert:' "$work/app.err" | sed 's/^/alerts: /' || true
echo "threads at the end: $threads_end; wall time $((SECONDS - started)) s"
exec 7>&-
wait "$app_pid" || true
echo "soak ticks=$(ticks) touches=$(cat "$work/touches") uploads=$(uploads)" \
    "rss_start_kib=$rss_start rss_end_kib=$rss_end rss_max_kib=$rss_max" \
    "fds_start=$fds_start fds_end=$fds_end"
