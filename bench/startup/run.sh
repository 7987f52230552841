#!/usr/bin/env bash
# Time from exec to the first mapped top-level window, measured from outside by an X client
# (startup-watch) under a private Xvfb: the application against the smallest Qt Widgets program
# (startup-reference), alternating, in the same run. One unmeasured start of each first (it
# fills the file and font caches both share), then ROUNDS (default 10) measured rounds; the
# order inside a round alternates too.
# Last line: startup ours_ms=MEDIAN ref_ms=MEDIAN ratio=R
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${ORVENTA_BUILD_DIR:-$root/build/release}
rounds=${ROUNDS:-10}
watch=$build/bench/startup/startup-watch
ref=$build/bench/startup/startup-reference
ours=$build/src/app/orventa-companion
for program in "$watch" "$ref" "$ours"; do
    [ -x "$program" ] || { echo "startup: $program is not built" >&2; exit 1; }
done

if [ "${STARTUP_INSIDE:-}" != 1 ]; then
    export STARTUP_INSIDE=1 ORVENTA_BUILD_DIR=$build
    exec "$root/tests/support/with-xvfb" "$0" "$@"
fi

export QT_QPA_PLATFORM=xcb
# mapped_ms PROGRAM: one start, in milliseconds with one decimal.
mapped_ms() {
    local line
    line=$("$watch" "$1" 2>/dev/null </dev/null) || { echo "startup: $1 did not map a window" >&2; exit 1; }
    awk -v l="$line" 'BEGIN { sub(/.*mapped_us=/, "", l); printf "%.1f", l / 1000 }'
}
mapped_ms "$ours" >/dev/null
mapped_ms "$ref" >/dev/null
results=()
echo "round ours_ms ref_ms"
for round in $(seq 1 "$rounds"); do
    if ((round % 2)); then
        o=$(mapped_ms "$ours")
        r=$(mapped_ms "$ref")
    else
        r=$(mapped_ms "$ref")
        o=$(mapped_ms "$ours")
    fi
    echo "$round $o $r"
    results+=("$o $r")
done
median() { sort -n | awk '{ v[NR] = $1 } END { printf "%.1f", NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
ours_ms=$(printf '%s\n' "${results[@]}" | awk '{ print $1 }' | median)
ref_ms=$(printf '%s\n' "${results[@]}" | awk '{ print $2 }' | median)
ratio=$(awk -v a="$ours_ms" -v b="$ref_ms" 'BEGIN { printf "%.2f", a / b }')
echo "startup ours_ms=$ours_ms ref_ms=$ref_ms ratio=$ratio"
