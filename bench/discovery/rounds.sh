#!/usr/bin/env bash
# Inside with-mdns-netns: publish a receiver per round and time how long until the driver lists
# it and until a running "avahi-browse -r" reports it resolved.
set -euo pipefail
driver=$1
rounds=${2:-10}
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

QT_QPA_PLATFORM=offscreen "$driver" >"$work/ours" 2>"$work/ours.err" &
stdbuf -oL avahi-browse -rp _airplay._tcp 2>/dev/null | while IFS= read -r line; do
    printf '%s %s\n' "$(date +%s%N)" "$line"
done >"$work/browse" &

wait_for() { # file pattern -> first matching line
    for _ in $(seq 1 1500); do
        if grep -q -- "$2" "$1"; then grep -m1 -- "$2" "$1"; return 0; fi
        sleep 0.01
    done
    echo "timed out waiting for $2 in $1" >&2; return 1
}
wait_for "$work/ours" '^ready' >/dev/null
sleep 0.5 # let avahi-browse settle on its first queries

for i in $(seq 1 "$rounds"); do
    code=$(printf '0a0001%02x' "$i")
    ip="10.0.1.$i"
    t0=$(date +%s%N)
    avahi-publish-service "Brevik-B$i|Bench$i|$code" _airplay._tcp 7000 >/dev/null 2>&1 &
    pub=$!
    ours=$(wait_for "$work/ours" "^listed $ip ")
    theirs=$(wait_for "$work/browse" "^[0-9]* =;.*$code;")
    echo "$(( (${ours##* } - t0) / 1000 )) $(( (${theirs%% *} - t0) / 1000 ))"
    kill "$pub"; wait "$pub" 2>/dev/null || true
    wait_for "$work/ours" "^gone $ip " >/dev/null
done
