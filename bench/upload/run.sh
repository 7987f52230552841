#!/usr/bin/env bash
# Uploads files of 3 KB, 200 KB, 5 MB and 1 GiB to receiver-sim on loopback, once with
# UploadDataToHost (upload-driver) and once with curl -F, alternating round by round. Each
# upload is timed inside its process: ours from upload() to the reply's end (the driver's
# upload_ms), curl's by -w '%{time_total}', so process start-up is no part of either figure.
# Every 1 GiB run reads the file cold; peak RSS is taken from the 1 GiB runs.
#   bench/run upload [ROUNDS] [SMALL_ROUNDS]   (1 GiB rounds: default 5, at least 5;
#                                               each smaller size: default 15, at least 10)
# One line per size: upload size=S ours_ms=MEDIAN curl_ms=MEDIAN ratio=MEDIAN_RATIO max_ratio=WORST
# Last line: upload ours_s=S curl_s=S ratio=R max_ratio=R ours_rss_mib=M curl_rss_mib=M, with the
# 1 GiB medians and max_ratio the worst of every size's median ratio and of the 1 GiB rounds.
set -euo pipefail
build=${ORVENTA_BUILD_DIR:?}
rounds=${1:-5}
small_rounds=${2:-15}
[ "$rounds" -ge 5 ] || { echo "upload: at least 5 rounds" >&2; exit 2; }
[ "$small_rounds" -ge 10 ] || { echo "upload: at least 10 rounds per small size" >&2; exit 2; }
address=127.0.0.201
url=http://$address:5505/uploadfile
work=$(mktemp -d)
trap 'kill "$sim" 2>/dev/null || true; rm -rf "$work"' EXIT
driver=$build/bench/upload/upload-driver

mkdir "$work/uploads"
"$build/tools/receiver-sim/receiver-sim" "$address" --upload-dir "$work/uploads" \
    --log "$work/log.jsonl" >"$work/sim.out" </dev/null &
sim=$!
for _ in $(seq 50); do grep -q '^ready' "$work/sim.out" 2>/dev/null && break; sleep 0.1; done

# Runs one upload of FILE by CLIENT (ours or curl) under /usr/bin/time; prints "ms rss_kib".
upload_once() {
    local client=$1 file=$2 ms
    if [ "$client" = ours ]; then
        /usr/bin/time -f '%M' -o "$work/time" "$driver" "$address" "$file" >"$work/out" 2>"$work/err" \
            || { cat "$work/err" >&2; exit 1; }
        ms=$(sed -n 's/^upload_ms=//p' "$work/out")
    else
        /usr/bin/time -f '%M' -o "$work/time" curl -sS --fail -o /dev/null -w '%{time_total}' \
            -F "my-file=@$file;type=video/mp4" "$url" >"$work/out" 2>"$work/err" \
            || { cat "$work/err" >&2; exit 1; }
        ms=$(awk '{ printf "%.3f", $1 * 1000 }' "$work/out")
    fi
    rm -f "$work/uploads/$(basename "$file")"
    echo "$ms $(cat "$work/time")"
}
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }'; }
median() { sort -g | awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}'; }
worst=0
note_worst() { worst=$(awk -v a="$worst" -v b="$1" 'BEGIN { print (b > a ? b : a) }'); }

# Runs ROUNDS alternating rounds for FILE, labelled SIZE; prints the size's line. With COLD=1
# the file leaves the page cache before every run, so each client pays for reading it.
run_size() {
    local size=$1 file=$2 n=$3 cold=$4
    ours=() curl_=() ratios=()
    for round in $(seq "$n"); do
        [ "$cold" = 1 ] && dd if="$file" iflag=nocache count=0 status=none
        ours+=("$(upload_once ours "$file")")
        [ "$cold" = 1 ] && dd if="$file" iflag=nocache count=0 status=none
        curl_+=("$(upload_once curl "$file")")
        read -r om orss <<<"${ours[-1]}"
        read -r cm crss <<<"${curl_[-1]}"
        ratios+=("$(ratio "$om" "$cm")")
        [ "$cold" = 1 ] && echo "round $round: ours ${om} ms ${orss} KiB, curl ${cm} ms ${crss} KiB, ratio ${ratios[-1]}"
    done
    ours_ms=$(printf '%s\n' "${ours[@]}" | cut -d' ' -f1 | median)
    curl_ms=$(printf '%s\n' "${curl_[@]}" | cut -d' ' -f1 | median)
    median_ratio=$(printf '%s\n' "${ratios[@]}" | median)
    max_ratio=$(printf '%s\n' "${ratios[@]}" | sort -g | tail -n1)
    echo "upload size=$size ours_ms=$ours_ms curl_ms=$curl_ms ratio=$median_ratio max_ratio=$max_ratio"
}

# The simulator's first upload after its start is slower for whichever client sends it, so one
# untimed curl upload warms it up.
head -c 3000 /dev/urandom >"$work/warm.bin"
curl -sS --fail -o /dev/null -F "my-file=@$work/warm.bin;type=video/mp4" "$url"
rm -f "$work/uploads/warm.bin"
expected=1

for entry in 3k:3000 200k:200000 5m:5000000; do
    size=${entry%%:*}
    head -c "${entry#*:}" /dev/urandom >"$work/$size.mp4"
    run_size "$size" "$work/$size.mp4" "$small_rounds" 0
    note_worst "$median_ratio"
    expected=$((expected + 2 * small_rounds))
done

file=$work/big.mp4
# 1 GiB: a sparse file with random bytes at the start and at the end.
truncate -s 1G "$file"
head -c 4M /dev/urandom | dd of="$file" conv=notrunc status=none
head -c 4M /dev/urandom | dd of="$file" bs=1M seek=1020 conv=notrunc status=none
run_size 1g "$file" "$rounds" 1
note_worst "$max_ratio"
expected=$((expected + 2 * rounds))
# The simulator received every byte each time.
grep -c '"ok":true' "$work/log.jsonl" | grep -qx "$expected"

ours_s=$(awk -v ms="$ours_ms" 'BEGIN { printf "%.2f", ms / 1000 }')
curl_s=$(awk -v ms="$curl_ms" 'BEGIN { printf "%.2f", ms / 1000 }')
ours_rss=$(printf '%s\n' "${ours[@]}" | cut -d' ' -f2 | median)
curl_rss=$(printf '%s\n' "${curl_[@]}" | cut -d' ' -f2 | median)
echo "upload ours_s=$ours_s curl_s=$curl_s ratio=$median_ratio max_ratio=$worst" \
    "ours_rss_mib=$((ours_rss / 1024)) curl_rss_mib=$((curl_rss / 1024))"
