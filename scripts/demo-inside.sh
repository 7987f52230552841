#!/usr/bin/env bash
# The inside of the demo's namespace (started by scripts/demo.sh through netns-side.sh):
# the receiver simulator, its mDNS announcement, the touches it sends while touchback is on,
# and the application in the foreground. When the application ends, so does everything else.
#   demo-inside.sh APP SIM WORKDIR
set -euo pipefail
app=$1
sim=$2
workdir=$3
address=10.77.0.1
hex=0a4d0001 # 10.77.0.1, two hex digits per octet
mkdir -p "$workdir/uploads"

# Commands reach the simulator through a FIFO held open here for its whole life.
mkfifo "$workdir/receiver.commands"
exec 3<>"$workdir/receiver.commands"
"$sim" "$address" --upload-dir "$workdir/uploads" --log "$workdir/receiver.jsonl" \
    --announce "Brevik-Demo|Demo Room|$hex" <&3 >"$workdir/receiver.out" 2>&1 &

# A round of touches: the pointer circles the middle of the screen, then one tap at the centre.
python3 - "$workdir/touches.txt" <<'EOF'
import math, sys
with open(sys.argv[1], "w") as out:
    for step in range(48):
        angle = 2 * math.pi * step / 48
        x = round(16383 + 5000 * math.cos(angle))
        y = round(16383 + 5000 * math.sin(angle))
        out.write(f"MOVE,{x},{y},{step};\ndelay 40\n")
    out.write("DOWN,16383,16383,100;\ndelay 80\nUP,16383,16383,101;\n")
EOF

touchback_on() {
    local last
    last=$(grep -o '"target":"/enableWifiTouchback?[^"]*"' "$workdir/receiver.jsonl" 2>/dev/null | tail -n1)
    [[ $last == *enable=true* ]]
}
(
    while sleep 3; do
        touchback_on && echo "script $workdir/touches.txt" >&3
    done
) &

"$app"
