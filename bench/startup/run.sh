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
# start PROGRAM: one start; prints the milliseconds to the map and the processor milliseconds.
start() {
    local line
    line=$("$watch" "$1" 2>/dev/null </dev/null) || { echo "startup: $1 did not map a window" >&2; exit 1; }
    awk -v l="$line" 'BEGIN { split(l, f, /[ =]/); printf "%.1f %.1f", f[4] / 1000, f[6] / 1000 }'
}
start "$ours" >/dev/null
start "$ref" >/dev/null
results=()
echo "round ours_ms ref_ms ours_cpu_ms ref_cpu_ms"
for round in $(seq 1 "$rounds"); do
    if ((round % 2)); then
        o=$(start "$ours")
        r=$(start "$ref")
    else
        r=$(start "$ref")
        o=$(start "$ours")
    fi
    row="${o% *} ${r% *} ${o#* } ${r#* }"
    echo "$round $row"
    results+=("$row")
done
median() { sort -n | awk '{ v[NR] = $1 } END { printf "%.1f", NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
column_median() { printf '%s\n' "${results[@]}" | awk -v c="$1" '{ print $c }' | median; }
ours_ms=$(column_median 1)
ref_ms=$(column_median 2)
ratio=$(awk -v a="$ours_ms" -v b="$ref_ms" 'BEGIN { printf "%.2f", a / b }')
# Processor time until the map (and the few milliseconds to the kill), for orientation on a
# busy machine, where the wall times swing with the load.
echo "processor time, median: ours $(column_median 3) ms, reference $(column_median 4) ms"
echo "startup ours_ms=$ours_ms ref_ms=$ref_ms ratio=$ratio"
