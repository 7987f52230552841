"""Answers a desktop portal's permission dialog from outside, through AT-SPI, the way a user
with a screen reader would: finds the dialog's controls by their names or their labels' texts
(in any letter case, which differs between releases), never by coordinates.

Run with Debian's /usr/bin/python3 (it has pyatspi) inside the session of with-mutter --portal or
with-kwin, whose portal backends are started with accessibility on.
Usage: portal_dialog.py ANSWER [--switch-off NAME] [--check-off NAME] [--timeout S]
  ANSWER        the name of the button to press ("Share", "Cancel")
  --switch-off  a switch or check box that must be found and left off (e.g. "Allow remote
                interaction"); the check fails if it is missing or on
  --check-off   a check box to turn off when it is shown (e.g. KDE's "Allow restoring on future
                sessions")
Prints "dialog: ..." lines naming what it found and pressed; exits 0 once the button was pressed.
"""
import argparse
import sys
import time

import pyatspi
from gi.repository import GLib

# The portal backends' processes as AT-SPI names them.
BACKENDS = ('xdg-desktop-portal-gnome', 'xdg-desktop-portal-kde')
BUTTON_ROLES = (pyatspi.ROLE_PUSH_BUTTON, pyatspi.ROLE_BUTTON) \
    if hasattr(pyatspi, 'ROLE_BUTTON') else (pyatspi.ROLE_PUSH_BUTTON,)
TOGGLE_ROLES = (pyatspi.ROLE_CHECK_BOX, pyatspi.ROLE_TOGGLE_BUTTON) \
    + ((pyatspi.ROLE_SWITCH,) if hasattr(pyatspi, 'ROLE_SWITCH') else ())


def fail(why):
    sys.exit('FAIL: ' + why)


def wait_for(what, probe, timeout):
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        while GLib.MainContext.default().iteration(False):
            pass
        try:
            result = probe()
        except GLib.GError:  # a node that went away while it was read
            result = None
        if result:
            return result
        time.sleep(0.05)
    fail('timed out waiting for ' + what + '; the portal backends show:\n' + describe_backends())


def backends():
    for app in pyatspi.Registry.getDesktop(0):
        if app is not None and app.name in BACKENDS:
            yield app


def showing(node):
    # GTK 3 under a headless compositor marks the controls visible but not showing.
    state = node.getState()
    return not state.contains(pyatspi.STATE_DEFUNCT) and (
        state.contains(pyatspi.STATE_SHOWING) or state.contains(pyatspi.STATE_VISIBLE))


def named(node, name):
    """The control's own name, or the text of the label inside it (GTK 3 names a button
    "_Share Share", after its mnemonic and its label)."""
    if node.name.replace('_', '').lower() == name.lower():
        return True
    return any(child is not None and child.getRole() == pyatspi.ROLE_LABEL
               and child.name.lower() == name.lower()
               for child in pyatspi.findAllDescendants(node, lambda n: n is not None))


def find(name, roles):
    for app in backends():
        node = pyatspi.findDescendant(
            app, lambda n: n is not None and n.getRole() in roles and showing(n)
            and named(n, name))
        if node is not None:
            return node
    return None


def describe_backends():
    lines = []

    def walk(node, depth):
        if node is None or depth > 25:
            return
        if node.name or depth < 3:
            lines.append('  ' * depth + '%s %r' % (node.getRoleName(), node.name))
        for child in node:
            walk(child, depth + 1)
    for app in backends():
        walk(app, 0)
    return '\n'.join(lines) or '  (no portal backend on the accessibility bus)'


def act(node, names):
    action = node.queryAction()
    for i in range(action.nActions):
        if action.getName(i).lower() in names:
            action.doAction(i)
            return
    fail('%r offers no %s action' % (node.name, '/'.join(names)))


def checked(node):
    return node.getState().contains(pyatspi.STATE_CHECKED) \
        or node.getState().contains(pyatspi.STATE_PRESSED)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('answer')
    parser.add_argument('--switch-off', default=None)
    parser.add_argument('--check-off', default=None)
    parser.add_argument('--timeout', type=float, default=30)
    args = parser.parse_args()

    button = wait_for('the button "%s"' % args.answer,
                      lambda: find(args.answer, BUTTON_ROLES), args.timeout)
    print('dialog: found the button %r' % button.name, flush=True)
    if args.switch_off:
        switch = find(args.switch_off, TOGGLE_ROLES)
        if switch is None:
            fail('the dialog has no %r:\n%s' % (args.switch_off, describe_backends()))
        if checked(switch):
            fail('%r is on by default' % args.switch_off)
        print('dialog: %r is off' % args.switch_off, flush=True)
    if args.check_off:
        box = find(args.check_off, TOGGLE_ROLES)
        if box is not None and checked(box):
            act(box, ('toggle', 'press', 'click', 'activate'))
            wait_for('%r to turn off' % args.check_off, lambda: not checked(box), 5)
            print('dialog: turned %r off' % args.check_off, flush=True)
    act(button, ('press', 'click', 'activate'))
    print('dialog: pressed %r' % button.name, flush=True)


if __name__ == '__main__':
    main()
