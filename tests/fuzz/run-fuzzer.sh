#!/usr/bin/env bash
# Runs one libFuzzer target for a bounded time from its seed corpus, under AddressSanitizer and
# UBSan, and prints its executions and coverage.
#   run-fuzzer.sh FUZZER SEED_CORPUS WORK_DIR
# ORVENTA_FUZZ_SECONDS: fuzzing time (default 60). New inputs go to WORK_DIR/corpus/NAME, never
# into the seed corpus; a finding is saved as WORK_DIR/findings/NAME-crash-… and fails the run.
set -euo pipefail
fuzzer=$1 seeds=$2 work=$3
name=$(basename "$fuzzer")
seconds=${ORVENTA_FUZZ_SECONDS:-60}
mkdir -p "$work/corpus/$name" "$work/findings"
log="$work/$name.log"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:halt_on_error=1:print_stacktrace=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$(dirname "$0")/../sanitizers/lsan.supp:print_suppressions=0}
status=0
# -close_fd_mask=1: the code under test prints its lines on standard output; they are not needed.
"$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=4096 \
    -close_fd_mask=1 -print_final_stats=1 -artifact_prefix="$work/findings/$name-" \
    "$work/corpus/$name" "$seeds" >"$log" 2>&1 || status=$?
runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
cov=$(grep -o 'cov: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)
ft=$(grep -o 'ft: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)
echo "$name: seconds=$seconds runs=${runs:-0} cov=${cov:-0} ft=${ft:-0} exit=$status"
if [ "$status" -ne 0 ]; then
    tail -n 80 "$log"
    exit 1
fi
