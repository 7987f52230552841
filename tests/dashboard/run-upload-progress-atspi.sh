#!/usr/bin/env bash
# Runs the AT-SPI check of the upload progress display: a private network namespace (for the
# simulator's ports), a private session bus, a private X server, and Debian's python with pyatspi.
# Usage: run-upload-progress-atspi.sh <upload_progress_atspi_app> <receiver-sim>
set -eu
here=$(cd "$(dirname "$0")" && pwd)
support=$here/../support
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
export NO_AT_BRIDGE=0
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$support/with-netns-route" dbus-run-session -- "$support/with-xvfb" \
    /usr/bin/python3 "$here/upload_progress_atspi.py" "$1" "$2" "$work"
