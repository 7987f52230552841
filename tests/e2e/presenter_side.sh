#!/usr/bin/env bash
# Presenter side of the end-to-end run: a private Xvfb (1440x900), the XInput2 raw-event
# observer writing WORKDIR/xi.jsonl, and the AT-SPI driver on its own session bus, which starts
# the application and checks what reaches the receiver and the X server.
#   presenter_side.sh APP OBSERVER WORKDIR DRIVER
set -euo pipefail
app=$1
observer=$2
work=$3
driver=$4
fdfile=$work/xvfb.display
Xvfb -displayfd 5 -screen 0 1440x900x24 -noreset -nolisten tcp 5>"$fdfile" 2>"$work/xvfb.log" &
for _ in $(seq 1 100); do
    [ -s "$fdfile" ] && break
    sleep 0.05
done
[ -s "$fdfile" ] || { echo "presenter: Xvfb did not start" >&2; exit 1; }
export DISPLAY=":$(head -n1 "$fdfile")"
"$observer" >"$work/xi.jsonl" 2>"$work/xi.log" &
for _ in $(seq 1 100); do
    grep -q ready "$work/xi.jsonl" 2>/dev/null && break
    sleep 0.05
done
export QT_QPA_PLATFORM=xcb QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 NO_AT_BRIDGE=0
exec dbus-run-session -- /usr/bin/python3 "$driver" --app "$app" --work "$work"
