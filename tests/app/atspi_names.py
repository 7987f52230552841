"""Finds every named control and status text of the application from outside the process,
through AT-SPI, the way a screen reader sees them.

Run with Debian's /usr/bin/python3 (it has pyatspi) inside dbus-run-session, under an X server.
Usage: atspi_names.py <path to orventa-companion>
"""
import subprocess
import sys
import time

import pyatspi
from gi.repository import GLib

# AT-SPI names the application by Qt's application name, which is the application id.
APP_NAMES = ("com.orventa.companion", "ORVENTA Companion")


def wait_for(what, probe, timeout=20.0):
    """Polls an observable condition until it holds; fails the test after the timeout."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        while GLib.MainContext.default().iteration(False):
            pass
        result = probe()
        if result:
            return result
        time.sleep(0.05)
    sys.exit(f"FAIL: timed out waiting for {what}")


def application():
    for app in pyatspi.Registry.getDesktop(0):
        if app is not None and app.name in APP_NAMES:
            return app
    return None


def find(name, role=None):
    app = application()
    if app is None:
        return None
    return pyatspi.findDescendant(
        app, lambda n: n is not None and n.name == name
        and (role is None or n.getRole() == role))


def press(node):
    action = node.queryAction()
    for i in range(action.nActions):
        if action.getName(i) in ("Press", "press", "click"):
            action.doAction(i)
            return
    sys.exit(f"FAIL: {node.name} has no press action")


def expect(name, role=None):
    node = wait_for(f'"{name}"', lambda: find(name, role))
    print(f"found {name!r} ({node.getRoleName()})")
    return node


def labelled_by(node):
    for relation in node.getRelationSet():
        if relation.getRelationType() == pyatspi.RELATION_LABELLED_BY:
            return [relation.getTarget(i).name for i in range(relation.getNTargets())]
    return []


def expect_labelled(label, role):
    def probe():
        app = application()
        return app and pyatspi.findDescendant(
            app, lambda n: n is not None and n.getRole() == role and label in labelled_by(n))
    node = wait_for(f'a {pyatspi.Role(role)} labelled "{label}"', probe)
    print(f"found {label!r} ({node.getRoleName()} {node.name!r}, labelled by {label!r})")
    return node


def main():
    app = subprocess.Popen([sys.argv[1]])
    try:
        # Past the splash: the dashboard's controls appear.
        receivers = expect("Receivers", pyatspi.ROLE_PUSH_BUTTON)
        expect("Settings", pyatspi.ROLE_PUSH_BUTTON)
        expect("Connect", pyatspi.ROLE_PUSH_BUTTON)
        expect("No receiver paired")  # the status label exposes its text
        for name in ("Touchback", "Cast", "Upload file", "Drop area"):
            expect(name)
        expect("Cast", pyatspi.ROLE_PUSH_BUTTON)
        expect("Upload file", pyatspi.ROLE_PUSH_BUTTON)

        press(receivers)
        expect("Disconnect")  # the list popover is open

        press(find("Settings", pyatspi.ROLE_PUSH_BUTTON))
        # On Linux a combo box is named by its current text and labelled through a relation.
        expect_labelled("Frame rate", pyatspi.ROLE_COMBO_BOX)
        expect_labelled("Resolution", pyatspi.ROLE_COMBO_BOX)
        print("PASS")
    finally:
        app.terminate()
        app.wait(10)


if __name__ == "__main__":
    main()
