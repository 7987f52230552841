"""Drives the switch of orbswitch_atspi_app from outside the process through AT-SPI.

Run with Debian's /usr/bin/python3 (it has pyatspi) inside dbus-run-session, under an X server.
Usage: atspi_switch.py <path to orbswitch_atspi_app>
"""
import queue
import subprocess
import sys
import threading
import time

import pyatspi
from gi.repository import GLib

APP_NAME = "orbswitch-atspi-app"
SWITCH_NAME = "Wireless Touchback"


def wait_for(what, probe, timeout=20.0):
    """Polls an observable condition until it holds; fails the test after the timeout."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        while GLib.MainContext.default().iteration(False):
            pass  # deliver the accessibility events that arrived
        result = probe()
        if result:
            return result
        time.sleep(0.05)
    sys.exit(f"FAIL: timed out waiting for {what}")


class LineReader:
    """Reads the app's standard output on a thread, so that every read has a deadline."""

    def __init__(self, stream):
        self._lines = queue.Queue()
        threading.Thread(target=self._pump, args=(stream,), daemon=True).start()

    def _pump(self, stream):
        for line in stream:
            self._lines.put(line.strip())
        self._lines.put(None)

    def next(self, timeout=20.0):
        try:
            return self._lines.get(timeout=timeout)
        except queue.Empty:
            sys.exit("FAIL: the app printed nothing in time")


def find_switch():
    desktop = pyatspi.Registry.getDesktop(0)
    for app in desktop:
        if app is None or app.name != APP_NAME:
            continue
        found = pyatspi.findDescendant(app, lambda node: node is not None
                                       and node.name == SWITCH_NAME)
        if found is not None:
            return found
    return None


def is_checked(node):
    return node.getState().contains(pyatspi.STATE_CHECKED)


def main():
    app = subprocess.Popen([sys.argv[1]], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                           text=True, bufsize=1)
    out = LineReader(app.stdout)
    try:
        if out.next() != "ready":
            sys.exit("FAIL: the app did not start")
        switch = wait_for("the switch to appear on the accessibility bus", find_switch)
        role = switch.getRole()
        if role != pyatspi.ROLE_CHECK_BOX:
            sys.exit(f"FAIL: role is {switch.getRoleName()}, not check box")
        states = switch.getState()
        if is_checked(switch) or not states.contains(pyatspi.STATE_ENABLED):
            names = [pyatspi.stateToString(s) for s in states.getStates()]
            sys.exit(f"FAIL: expected an enabled, unchecked switch, got {names}")
        value = switch.queryValue()
        if value.currentValue != 0:
            sys.exit(f"FAIL: value {value.currentValue} before pressing")

        checked_events = []

        def on_checked(event):
            if event.source is not None and event.source.name == SWITCH_NAME:
                checked_events.append(event.detail1)

        pyatspi.Registry.registerEventListener(on_checked, "object:state-changed:checked")

        action = switch.queryAction()
        names = [action.getName(i) for i in range(action.nActions)]
        if "Press" not in names:
            sys.exit(f"FAIL: no press action in {names}")
        action.doAction(names.index("Press"))
        wait_for("the switch to be checked", lambda: is_checked(switch))
        wait_for("a checked-state event", lambda: checked_events == [1])
        if value.currentValue != 1:
            sys.exit(f"FAIL: value {value.currentValue} after pressing")
        line = out.next()
        if line != "action checked=1":
            sys.exit(f"FAIL: app printed {line!r} after the press")

        # Setting the value from outside counts as the user's change too.
        value.currentValue = 0
        wait_for("the switch to be unchecked", lambda: not is_checked(switch))
        wait_for("an unchecked-state event", lambda: checked_events == [1, 0])
        line = out.next()
        if line != "action checked=0":
            sys.exit(f"FAIL: app printed {line!r} after setting the value")

        app.stdin.close()
        rest = out.next()
        app.wait(timeout=20)
        if rest != "final checked=0 actions=2" or out.next() is not None:
            sys.exit(f"FAIL: app ended with {rest!r}")
        print("PASS: switch found as a check box, pressed and set through AT-SPI")
    finally:
        if app.poll() is None:
            app.kill()
            app.wait()


if __name__ == "__main__":
    main()
