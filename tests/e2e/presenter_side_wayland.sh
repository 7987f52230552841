#!/usr/bin/env bash
# Presenter side of the end-to-end run on a GNOME Wayland desktop: a headless mutter session
# (tests/support/with-mutter: its own session bus, PipeWire, one 1440x900 monitor), a full-screen
# Wayland pointer observer writing WORKDIR/wl.log, and the AT-SPI driver, which starts the
# application as a native Wayland client and checks what reaches the receiver and the observer.
#   presenter_side_wayland.sh APP OBSERVER WORKDIR DRIVER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
if [ -z "${E2E_IN_MUTTER:-}" ]; then
    E2E_IN_MUTTER=1 exec "$here/../support/with-mutter" "$0" "$@"
fi
app=$1
observer=$2
work=$3
driver=$4
"$observer" >"$work/wl.log" 2>"$work/wl-observer.err" &
for _ in $(seq 1 100); do
    grep -q '^ready' "$work/wl.log" 2>/dev/null && break
    sleep 0.05
done
grep -q '^ready' "$work/wl.log" || { echo "presenter: the Wayland observer did not start" >&2; exit 1; }
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 NO_AT_BRIDGE=0
exec /usr/bin/python3 "$driver" --app "$app" --work "$work" --wayland
