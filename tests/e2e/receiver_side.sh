#!/usr/bin/env bash
# Receiver side of the end-to-end run: the simulator on 10.77.0.1, announced over mDNS as
# "Brevik-E2E|E2E Room|0a4d0001". Commands reach it through the FIFO WORKDIR/receiver.commands;
# its request log is WORKDIR/receiver.jsonl and uploads land in WORKDIR/uploads.
#   receiver_side.sh SIM WORKDIR
set -euo pipefail
sim=$1
work=$2
mkdir -p "$work/uploads"
mkfifo "$work/receiver.commands"
exec 3<>"$work/receiver.commands"
"$sim" 10.77.0.1 --upload-dir "$work/uploads" --log "$work/receiver.jsonl" \
    --announce "Brevik-E2E|E2E Room|0a4d0001" <&3 >"$work/receiver.out" 2>&1 &
sim_pid=$!
wait "$sim_pid"
