#!/usr/bin/env bash
# Runs the AT-SPI check of the application: a private session bus (the accessibility bus starts
# on demand), a private X server, and Debian's python with pyatspi as the client.
# Usage: run-atspi-test.sh <orventa-companion>
set -eu
here=$(cd "$(dirname "$0")" && pwd)
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
export NO_AT_BRIDGE=0
# Receiver discovery must not reach a system mDNS daemon from here.
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent
exec dbus-run-session -- "$here/../support/with-xvfb" /usr/bin/python3 "$here/atspi_names.py" "$1"
