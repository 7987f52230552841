#!/usr/bin/env bash
# Time from publishing a receiver to its row being listed by our discovery, against the time
# "avahi-browse -r" takes to report the same service, in one private mDNS namespace.
# Last line: discovery ours_ms=N avahi_browse_ms=N delta_ms=N (medians over the rounds).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${ORVENTA_BUILD_DIR:-$root/build/release}
rounds=${ROUNDS:-12}
cmake --build "$build" --target discovery_driver >/dev/null
out=$("$root/tests/support/with-mdns-netns" "$here/rounds.sh" "$build/bench/discovery/discovery_driver" "$rounds")
python3 - "$out" <<'PY'
import statistics, sys
rows = [tuple(int(v) / 1000 for v in l.split()) for l in sys.argv[1].splitlines() if l.strip()]
print("round ours_ms avahi_browse_ms")
for i, (o, b) in enumerate(rows, 1):
    print(f"{i} {o:.1f} {b:.1f}")
ours = statistics.median(r[0] for r in rows)
theirs = statistics.median(r[1] for r in rows)
print(f"discovery ours_ms={ours:.1f} avahi_browse_ms={theirs:.1f} delta_ms={ours - theirs:.1f}")
PY
