#!/usr/bin/env bash
# Runs the AT-SPI check of the switch: a private session bus (the accessibility bus is started on
# demand by its launcher), a private X server, and Debian's python with pyatspi as the client.
# Usage: run-atspi-test.sh <orbswitch_atspi_app>
set -eu
here=$(cd "$(dirname "$0")" && pwd)
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
export NO_AT_BRIDGE=0
exec dbus-run-session -- "$here/../support/with-xvfb" /usr/bin/python3 "$here/atspi_switch.py" "$1"
