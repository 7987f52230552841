#!/usr/bin/env bash
# Instructions per MOVE report: MouseSimulate with the XTest backend against the minimal C
# reference (bench/reference), both under one private Xvfb, counted by callgrind inside the
# report loop only. Per-report cost = (Ir at 3000 reports - Ir at 1000 reports) / 2000.
# Last line: touch-core ours_ir=N ref_ir=N ratio=R
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${ORVENTA_BUILD_DIR:-$root/build/release}
ours=$build/bench/touch-core/touch-core-driver
ref=$build/bench/touch-core/touch-reference
for program in "$ours" "$ref"; do
    [ -x "$program" ] || { echo "touch-core: $program is not built" >&2; exit 1; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/measure.sh" <<'INNER'
#!/usr/bin/env bash
# Runs under with-xvfb: prints "<name> <reports> <Ir>" for each run.
set -euo pipefail
work=$1 ours=$2 ref=$3
ir() {
    local out=$work/callgrind.$1.$2
    valgrind --tool=callgrind --toggle-collect=run_reports --callgrind-out-file="$out" \
        "$3" "$2" >/dev/null 2>"$out.log"
    awk '/^(summary|totals):/ {print $2; exit}' "$out"
}
# Wall time of 10,000 reports without valgrind, median of three runs (whole process, start-up
# included: for orientation only; the instruction counts are the figures that decide).
wall() {
    local times=()
    for _ in 1 2 3; do
        local start=$(date +%s%N)
        "$@" 10000 >/dev/null 2>&1
        times+=($(( ($(date +%s%N) - start) / 1000000 )))
    done
    printf '%s\n' "${times[@]}" | sort -n | sed -n 2p
}
echo "wall-ours 10000 $(QT_QPA_PLATFORM=xcb wall "$ours")"
echo "wall-ref 10000 $(wall "$ref")"
for n in 1000 3000; do
    echo "ours $n $(QT_QPA_PLATFORM=xcb ir ours $n "$ours")"
    echo "ref $n $(ir ref $n "$ref")"
done
INNER
chmod +x "$work/measure.sh"
"$root/tests/support/with-xvfb" "$work/measure.sh" "$work" "$ours" "$ref" >"$work/figures"

value() { awk -v name="$1" -v n="$2" '$1 == name && $2 == n {print $3}' "$work/figures"; }
ours_ir=$(( ($(value ours 3000) - $(value ours 1000)) / 2000 ))
ref_ir=$(( ($(value ref 3000) - $(value ref 1000)) / 2000 ))
ratio=$(awk -v a="$ours_ir" -v b="$ref_ir" 'BEGIN {printf "%.2f", a / b}')
echo "10,000 MOVE reports, whole process, median of 3: ours $(value wall-ours 10000) ms," \
    "reference $(value wall-ref 10000) ms"
echo "instructions in the report loop (callgrind):"
grep -v '^wall' "$work/figures" | column -t
echo "per report: ours $ours_ir, reference $ref_ir, ratio $ratio (target: at most 2.0)"
echo "touch-core ours_ir=$ours_ir ref_ir=$ref_ir ratio=$ratio"
