#!/usr/bin/env bash
# Uploads a 1 GiB file to receiver-sim on loopback, once with UploadDataToHost (upload-driver) and
# once with curl -F, alternating round by round, each run reading the file cold, and reports every round's ratio, the medians of
# wall time and peak RSS, and the worst round.
#   bench/run upload [ROUNDS]      (default 5 rounds, at least 5)
# Last line: upload ours_s=S curl_s=S ratio=R max_ratio=R ours_rss_mib=M curl_rss_mib=M
set -euo pipefail
build=${ORVENTA_BUILD_DIR:?}
rounds=${1:-5}
[ "$rounds" -ge 5 ] || { echo "upload: at least 5 rounds" >&2; exit 2; }
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

# Runs a command under /usr/bin/time; prints "seconds rss_kib". Every run starts with the file
# out of the page cache, so each client, in every round, pays for reading it: the first reader of
# a fresh file would otherwise pay alone (measured: about 3 s of a loaded machine's first round,
# for curl as for ours).
measure() {
    dd if="$file" iflag=nocache count=0 status=none
    /usr/bin/time -f '%e %M' -o "$work/time" "$@" >/dev/null 2>"$work/err" || {
        cat "$work/err" >&2
        exit 1
    }
    rm -f "$work/uploads/big.mp4"
    cat "$work/time"
}
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }'; }

# The simulator's first upload after its start is slower for whichever client sends it (measured:
# curl first 15.4 s then ours 12.8 s; ours first 12.1 s then curl 8.9 s), so one untimed curl
# upload warms it up. Round 1 stays cold for our process and for the file.
curl -sS --fail -o /dev/null -F "my-file=@$file;type=video/mp4" "http://$address:5505/uploadfile"
rm -f "$work/uploads/big.mp4"

ours=() curl_=() ratios=()
for round in $(seq "$rounds"); do
    ours+=("$(measure "$build/bench/upload/upload-driver" "$address" "$file")")
    curl_+=("$(measure curl -sS --fail -o /dev/null -F "my-file=@$file;type=video/mp4" \
        "http://$address:5505/uploadfile")")
    read -r os orss <<<"${ours[-1]}"
    read -r cs crss <<<"${curl_[-1]}"
    ratios+=("$(ratio "$os" "$cs")")
    echo "round $round: ours ${os} s ${orss} KiB, curl ${cs} s ${crss} KiB, ratio ${ratios[-1]}"
done
# The simulator received every byte each time.
grep -c '"ok":true' "$work/log.jsonl" | grep -qx "$((2 * rounds + 1))"

median() { sort -n | awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}'; }
ours_s=$(printf '%s\n' "${ours[@]}" | cut -d' ' -f1 | median)
curl_s=$(printf '%s\n' "${curl_[@]}" | cut -d' ' -f1 | median)
ours_rss=$(printf '%s\n' "${ours[@]}" | cut -d' ' -f2 | median)
curl_rss=$(printf '%s\n' "${curl_[@]}" | cut -d' ' -f2 | median)
median_ratio=$(printf '%s\n' "${ratios[@]}" | median)
max_ratio=$(printf '%s\n' "${ratios[@]}" | sort -n | tail -n1)
echo "upload ours_s=$ours_s curl_s=$curl_s ratio=$median_ratio max_ratio=$max_ratio" \
    "ours_rss_mib=$((ours_rss / 1024)) curl_rss_mib=$((curl_rss / 1024))"
