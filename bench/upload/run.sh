#!/usr/bin/env bash
# Uploads a 1 GiB file to receiver-sim on loopback, once with UploadDataToHost (upload-driver) and
# once with curl -F, alternating, and reports the medians of wall time and peak RSS.
#   bench/run upload [ROUNDS]      (default 3 rounds)
# Last line: upload ours_s=S curl_s=S ratio=R ours_rss_mib=M curl_rss_mib=M
set -euo pipefail
build=${ORVENTA_BUILD_DIR:?}
rounds=${1:-3}
address=127.0.0.201
work=$(mktemp -d)
trap 'kill "$sim" 2>/dev/null || true; rm -rf "$work"' EXIT

file=$work/big.mp4
# 1 GiB: a sparse file with random bytes at the start and at the end.
truncate -s 1G "$file"
head -c 4M /dev/urandom | dd of="$file" conv=notrunc status=none
head -c 4M /dev/urandom | dd of="$file" bs=1M seek=1020 conv=notrunc status=none
mkdir "$work/uploads"

"$build/tools/receiver-sim/receiver-sim" "$address" --upload-dir "$work/uploads" \
    --log "$work/log.jsonl" >"$work/sim.out" </dev/null &
sim=$!
for _ in $(seq 50); do grep -q '^ready' "$work/sim.out" 2>/dev/null && break; sleep 0.1; done

# Runs a command under /usr/bin/time; prints "seconds rss_kib".
measure() {
    /usr/bin/time -f '%e %M' -o "$work/time" "$@" >/dev/null 2>"$work/err" || {
        cat "$work/err" >&2
        exit 1
    }
    rm -f "$work/uploads/big.mp4"
    cat "$work/time"
}

ours=() curl_=()
for round in $(seq "$rounds"); do
    ours+=("$(measure "$build/bench/upload/upload-driver" "$address" "$file")")
    curl_+=("$(measure curl -sS --fail -o /dev/null -F "my-file=@$file;type=video/mp4" \
        "http://$address:5505/uploadfile")")
    echo "round $round: ours ${ours[-1]}  curl ${curl_[-1]}  (seconds, peak RSS KiB)"
done
# The simulator received every byte each time.
grep -c '"ok":true' "$work/log.jsonl" | grep -qx "$((2 * rounds))"

median() { sort -n | awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}'; }
ours_s=$(printf '%s\n' "${ours[@]}" | cut -d' ' -f1 | median)
curl_s=$(printf '%s\n' "${curl_[@]}" | cut -d' ' -f1 | median)
ours_rss=$(printf '%s\n' "${ours[@]}" | cut -d' ' -f2 | median)
curl_rss=$(printf '%s\n' "${curl_[@]}" | cut -d' ' -f2 | median)
echo "upload ours_s=$ours_s curl_s=$curl_s ratio=$(awk "BEGIN{printf \"%.2f\", $ours_s/$curl_s}")" \
    "ours_rss_mib=$((ours_rss / 1024)) curl_rss_mib=$((curl_rss / 1024))"
