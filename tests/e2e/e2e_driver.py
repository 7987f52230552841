#!/usr/bin/python3
"""Drives the application through AT-SPI, as a user would, and checks what arrives at the
receiver simulator (its JSON request log) and at the X server (the XInput2 raw-event log), or
with --wayland at a full-screen Wayland client (the pointer observer's log).

Run by presenter_side.sh inside the presenter's namespace, on a private session bus and Xvfb.
Every step prints "ok: ..." or ends the run with "FAIL: ..." (exit status 1).
"""
import argparse
import hashlib
import json
import math
import os
import subprocess
import sys
import time

import pyatspi

RECEIVER_IP = "10.77.0.1"
PRESENTER_IP = "10.77.0.2"
RECEIVER_HEX = "0a4d0001"
RECEIVER_NAME = "E2E Room"
SCREEN = (1440, 900)
KEY_ESC, KEY_TAB, KEY_ENTER, KEY_SPACE = 1, 15, 28, 57  # evdev key codes


class Failure(Exception):
    pass


def wait_for(what, probe, timeout=15.0, interval=0.1):
    """Polls probe() until it returns something truthy; fails with `what` after timeout."""
    deadline = time.monotonic() + timeout
    while True:
        value = probe()
        if value:
            return value
        if time.monotonic() > deadline:
            raise Failure(f"timed out waiting for {what}")
        time.sleep(interval)


class JsonLog:
    """A JSON-lines file that another process appends to; remembers when each line was seen."""

    def __init__(self, path):
        self.path = path
        self.offset = 0
        self.entries = []  # (monotonic time first seen, object)

    def poll(self):
        try:
            with open(self.path, "rb") as f:
                f.seek(self.offset)
                data = f.read()
        except FileNotFoundError:
            return self.entries
        end = data.rfind(b"\n")
        if end >= 0:
            now = time.monotonic()
            for line in data[: end + 1].splitlines():
                if line.strip():
                    self.entries.extend((now, entry) for entry in self.parse(line))
            self.offset += end + 1
        return self.entries

    def parse(self, line):
        return [json.loads(line)]

    def matching(self, predicate, since=0):
        return [(t, e) for t, e in self.poll()[since:] if predicate(e)]

    def mark(self):
        return len(self.poll())


class WaylandPointerLog(JsonLog):
    """The Wayland observer's lines ("enter US X Y", "motion US X Y", "button US pressed CODE")
    as the X observer's events: motion, press and release, each with the pointer's position."""

    def __init__(self, path):
        super().__init__(path)
        self.position = (None, None)

    def parse(self, line):
        fields = line.decode().split()
        if fields[0] in ("enter", "motion"):
            self.position = (float(fields[2]), float(fields[3]))
        if fields[0] == "motion":
            kind = "motion"
        elif fields[0] == "button":
            kind = "press" if fields[2] == "pressed" else "release"
        else:
            return []
        return [{"type": kind, "x": self.position[0], "y": self.position[1],
                 "mono_us": int(fields[1])}]


class App:
    """The application process and its accessible tree."""

    def __init__(self, program, work):
        self.out = open(os.path.join(work, "app.out"), "wb")
        self.process = subprocess.Popen([program], stdout=self.out, stderr=subprocess.STDOUT)
        self.name = os.path.basename(program)

    def root(self):
        desktop = pyatspi.Registry.getDesktop(0)
        for i in range(desktop.childCount):
            child = desktop.getChildAtIndex(i)
            try:
                if child is not None and child.get_process_id() == self.process.pid:
                    return child
            except Exception:
                continue
        return None

    def find(self, name, role=None, showing=True):
        root = self.root()
        if root is None:
            return None
        return find_in(root, name, role, showing)

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(5)
            except subprocess.TimeoutExpired:
                self.process.kill()


def find_in(node, name, role, showing, depth=0):
    if node is None or depth > 40:
        return None
    try:
        states = node.getState()
        if node.name == name and (role is None or node.getRole() == role):
            if not showing or states.contains(pyatspi.STATE_SHOWING):
                return node
        for i in range(node.childCount):
            found = find_in(node.getChildAtIndex(i), name, role, showing, depth + 1)
            if found is not None:
                return found
    except Exception:
        return None
    return None


def press(accessible, what):
    """The accessible's press action; a plain widget without one gets a real click."""
    try:
        action = accessible.queryAction()
        names = [action.getName(i) for i in range(action.nActions)]
    except NotImplementedError:
        names = []
    for wanted in ("press", "Press", "click", "activate", "toggle", "Toggle"):
        if wanted in names:
            action.doAction(names.index(wanted))
            return
    click(accessible, what)


def click(accessible, what):
    box = accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    if box.width <= 0 or box.height <= 0:
        raise Failure(f"{what} has no area on screen to click")
    x, y = box.x + box.width // 2, box.y + box.height // 2
    subprocess.run([os.environ["E2E_X_CLICK"], str(x), str(y)], check=True)


def is_checked(accessible):
    return accessible.getState().contains(pyatspi.STATE_CHECKED)


def touch_value(pixel, size):
    """The smallest touch coordinate that lands on the given pixel."""
    return math.ceil(pixel * 32767 / size)


class Session:
    def __init__(self, args):
        self.work = args.work
        self.app = App(args.app, args.work)
        self.receiver = JsonLog(os.path.join(args.work, "receiver.jsonl"))
        if args.wayland:
            # Logical pixels in fractions; posted points land within one pixel.
            self.x_events = WaylandPointerLog(os.path.join(args.work, "wl.log"))
            self.tolerance = 1.0
        else:
            self.x_events = JsonLog(os.path.join(args.work, "xi.jsonl"))
            self.tolerance = 0
        self.commands = open(os.path.join(args.work, "receiver.commands"), "w")

    def command(self, line):
        self.commands.write(line + "\n")
        self.commands.flush()

    def requests(self, path, since=0):
        return self.receiver.matching(lambda e: e["target"].split("?")[0] == path, since)

    def ok(self, text):
        print("ok:", text, flush=True)

    # --- steps -----------------------------------------------------------------------------

    def pair(self):
        wait_for("the application's accessible tree", self.app.root, timeout=30)
        connect = wait_for('the "Connect" button', lambda: self.app.find("Connect"), timeout=30)
        press(connect, '"Connect"')
        row = wait_for(f'the receiver row "{RECEIVER_NAME}"',
                       lambda: self.app.find(RECEIVER_NAME), timeout=20)
        self.ok(f'receiver listed as "{RECEIVER_NAME}"')
        press(row, f'row "{RECEIVER_NAME}"')
        wait_for(f'"Paired to {RECEIVER_HEX}"',
                 lambda: self.app.find(f"Paired to {RECEIVER_HEX}", showing=False))
        self.ok(f'status reads "Paired to {RECEIVER_HEX}"')

    def pair_by_keyboard(self):
        """Pairing on Wayland. The list is a pop-up there: it opens only after a real key press
        or click, and AT-SPI clients meet its rows through focus events only. So the receiver is
        chosen with keys posted through mutter's RemoteDesktop, following the focus."""
        sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..",
                                        "wayland"))
        import wayland_remote
        from gi.repository import GLib
        keyboard = wayland_remote.MutterRemote()
        keyboard.start()
        focused = []

        def on_focus(event):
            if event.detail1:
                focused.append(event.source.name)
        pyatspi.Registry.registerEventListener(on_focus, "object:state-changed:focused")

        def pump(seconds):
            end = time.monotonic() + seconds
            while time.monotonic() < end:
                GLib.MainContext.default().iteration(False) or time.sleep(0.01)

        def key(code):
            """Presses a key and waits (up to 2 s) for the focus it moves."""
            seen = len(focused)
            keyboard.key(code, True)
            keyboard.key(code, False)
            end = time.monotonic() + 2
            while len(focused) == seen and time.monotonic() < end:
                pump(0.02)

        wait_for("the application's accessible tree", self.app.root, timeout=60)
        connect = wait_for('the "Connect" button', lambda: self.app.find("Connect"), timeout=30)
        connect.queryComponent().grabFocus()
        wait_for('focus on "Connect"', lambda: pump(0.1) or focused[-1:] == ["Connect"])
        key(KEY_SPACE)  # the list opens and takes the focus
        # Tab until the row has the focus; the row comes once discovery has found the receiver.
        wait_for(f'focus on the receiver row "{RECEIVER_NAME}"',
                 lambda: key(KEY_TAB) or focused[-1:] == [RECEIVER_NAME], timeout=40)
        self.ok(f'receiver listed as "{RECEIVER_NAME}"')
        key(KEY_ENTER)
        wait_for(f'"Paired to {RECEIVER_HEX}"',
                 lambda: self.app.find(f"Paired to {RECEIVER_HEX}", showing=False))
        self.ok(f'status reads "Paired to {RECEIVER_HEX}"')
        # Closed as a user would: an open pop-up would take the first touch on another window
        # for its own dismissal.
        key(KEY_ESC)
        wait_for("the focus back in the main window",
                 lambda: pump(0.1) or (focused and focused[-1] != RECEIVER_NAME))

    def touchback_on(self):
        switch = wait_for('the "Touchback" switch', lambda: self.app.find("Touchback"))
        mark = self.receiver.mark()
        press(switch, '"Touchback"')
        wanted = (f"/enableWifiTouchback?ip={PRESENTER_IP}&enable=true&hidemenu=false&isHDMI=true")
        wait_for(f"GET {wanted}", lambda: [e for _, e in self.requests("/enableWifiTouchback", mark)
                                           if e["target"] == wanted and e["method"] == "GET"])
        self.ok("enable request carries the presenter's address and the flags")

    def heartbeat(self):
        mark = self.receiver.mark()
        pings = wait_for("three heartbeats", lambda: (lambda p: p if len(p) >= 3 else None)(
            self.requests("/pingServerWithIP", mark)), timeout=16)
        wanted = f"/pingServerWithIP?ip={PRESENTER_IP}&msg=ping"
        if any(e["target"] != wanted for _, e in pings):
            raise Failure(f"unexpected ping target: {[e['target'] for _, e in pings]}")
        gaps = [b[0] - a[0] for a, b in zip(pings, pings[1:])]
        if any(abs(g - 4.0) > 0.6 for g in gaps):
            raise Failure(f"heartbeat gaps are {gaps}, not about 4 s")
        self.ok("heartbeat every %s s" % ", ".join(f"{g:.2f}" for g in gaps))

    def at(self, event, x, y):
        return (event["x"] is not None and abs(event["x"] - x) <= self.tolerance
                and abs(event["y"] - y) <= self.tolerance)

    def x_after(self, mark, kind, x, y):
        return [e for _, e in self.x_events.poll()[mark:]
                if e["type"] == kind and self.at(e, x, y)]

    def touches(self):
        # Away from the application's window, which opens at the top left of the screen (X11)
        # or in its middle (mutter).
        (dx, dy), (mx, my) = (1200, 700), (1260, 760)
        tx = lambda px: touch_value(px, SCREEN[0])
        ty = lambda py: touch_value(py, SCREEN[1])
        mark = self.x_events.mark()
        self.command(f"touch DOWN {tx(dx)} {ty(dy)}")
        wait_for(f"press at {dx},{dy}", lambda: self.x_after(mark, "press", dx, dy))
        self.command(f"touch MOVE {tx(mx)} {ty(my)}")
        wait_for(f"motion to {mx},{my}", lambda: self.x_after(mark, "motion", mx, my))
        self.command(f"touch UP {tx(mx)} {ty(my)}")
        wait_for(f"release at {mx},{my}", lambda: self.x_after(mark, "release", mx, my))
        self.ok("DOWN, MOVE, UP arrived as press, motion, release at the right pixels")

    def double_click(self):
        px, py = 1000, 800
        tx, ty = touch_value(px, SCREEN[0]), touch_value(py, SCREEN[1])
        # The previous step left a release pending; once it is older than 800 ms, the next
        # release closes it as a plain release, so the following tap opens a fresh sequence.
        time.sleep(0.9)
        mark = self.x_events.mark()
        self.command(f"touch DOWN {tx} {ty}")
        self.command(f"touch UP {tx} {ty}")
        wait_for("the closing tap", lambda: self.x_after(mark, "release", px, py))
        mark = self.x_events.mark()
        for event in ("DOWN", "UP", "DOWN", "UP"):
            self.command(f"touch {event} {tx} {ty}")

        def buttons():
            return [e for _, e in self.x_events.poll()[mark:] if e["type"] in ("press", "release")]
        wait_for("the double click", lambda: len(buttons()) >= 7, timeout=5)
        time.sleep(0.3)
        events = buttons()
        kinds = [e["type"] for e in events]
        # First tap: press, release. Second tap: its press, then the double click's two
        # press/release pairs; the second tap's own release is not posted.
        expected = ["press", "release", "press", "press", "release", "press", "release"]
        if kinds != expected or not all(self.at(e, px, py) for e in events):
            raise Failure(f"two quick taps arrived as {[(e['type'], e['x'], e['y']) for e in events]}")
        span = events[-1]["mono_us"] - events[0]["mono_us"]
        if span > 800000:
            raise Failure(f"the two taps spread over {span} us")
        self.ok(f"two quick taps arrived as a double click ({' '.join(kinds)})")

    def cast_off(self):
        switch = self.app.find("Touchback")
        if switch is None or not is_checked(switch):
            raise Failure("the Touchback switch is not on before CAST_OFF")
        self.command("cast-off")
        wait_for("the switch to turn off after CAST_OFF",
                 lambda: not is_checked(self.app.find("Touchback")), timeout=10)
        wait_for('the "Cast" button to show again', lambda: self.app.find("Cast"))
        wait_for('the "Upload file" control to show again',
                 lambda: self.app.find("Drop area") or self.app.find("Upload file"))
        self.command("reset")
        self.ok('"CAST_OFF" returned the dashboard to Paired')

    def upload(self):
        path = os.path.join(self.work, "slides.pdf")
        with open(path, "wb") as f:
            f.write(os.urandom(300000) + b"%%EOF\r\n")
        expected = hashlib.sha256(open(path, "rb").read()).hexdigest()
        mark = self.receiver.mark()
        press(wait_for('"Upload file"', lambda: self.app.find("Upload file")), '"Upload file"')
        name_field = wait_for("the open panel's file name field",
                              lambda: find_editable(self.app.root()), timeout=10)
        name_field.queryEditableText().setTextContents(path)
        choose = wait_for('the panel\'s "Open" button',
                        lambda: self.app.find("Open", pyatspi.ROLE_PUSH_BUTTON), timeout=5)
        press(choose, '"Open"')
        uploads = wait_for("the upload at the receiver",
                           lambda: self.requests("/uploadfile", mark), timeout=15)
        entry = uploads[0][1]
        stored = entry.get("upload", {}).get("storedAs")
        if not stored or hashlib.sha256(open(stored, "rb").read()).hexdigest() != expected:
            raise Failure(f"stored upload differs from the file: {entry}")
        if entry["upload"].get("filename") != "slides.pdf":
            raise Failure(f"upload file name: {entry['upload']}")
        headers = dict((k, v) for k, v in entry["headers"])
        if headers.get("filetype") != "document/pdf":
            raise Failure(f"upload filetype header: {headers}")
        self.ok("the chosen file reached the receiver byte for byte as document/pdf")

    def drop(self):
        path = os.path.join(self.work, "dropped photo.png")
        with open(path, "wb") as f:
            f.write(b"\x89PNG\r\n\x1a\n" + os.urandom(200000))
        expected = hashlib.sha256(open(path, "rb").read()).hexdigest()
        area = wait_for('the "Drop area"', lambda: self.app.find("Drop area"))
        box = area.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        mark = self.receiver.mark()
        # A real XDND drop from another X client; the URI carries the path as it stands.
        subprocess.run([os.environ["E2E_XDND_DROP"], path.replace(" ", "%20"),
                        str(box.x + box.width // 2), str(box.y + box.height // 2)], check=True)
        uploads = wait_for("the dropped file at the receiver",
                           lambda: self.requests("/uploadfile", mark), timeout=15)
        entry = uploads[0][1]
        stored = entry.get("upload", {}).get("storedAs")
        if not stored or hashlib.sha256(open(stored, "rb").read()).hexdigest() != expected:
            raise Failure(f"stored drop differs from the file: {entry}")
        headers = dict((k, v) for k, v in entry["headers"])
        if headers.get("filetype") != "image/png" or headers.get("srcfilename") != "dropped photo.png":
            raise Failure(f"drop headers: {headers}")
        self.ok("a dropped file reached the receiver byte for byte as image/png")

    def disconnect(self):
        receivers = wait_for('the "Receivers" button', lambda: self.app.find("Receivers"))
        press(receivers, '"Receivers"')
        button = wait_for('the "Disconnect" button', lambda: self.app.find("Disconnect"))
        mark = self.receiver.mark()
        press(button, '"Disconnect"')
        wait_for('"*No Device Connected"',
                 lambda: self.app.find("*No Device Connected", showing=False))
        wanted = f"/enableWifiTouchback?ip={PRESENTER_IP}&enable=false&hidemenu=true&isHDMI=false"
        wait_for(f"GET {wanted}", lambda: [e for _, e in self.requests("/enableWifiTouchback", mark)
                                           if e["target"] == wanted])
        self.ok("Disconnect unpaired and told the receiver")


def find_editable(node, depth=0):
    """The open panel's file name field: the first editable text in a showing dialog."""
    if node is None or depth > 40:
        return None
    try:
        role = node.getRole()
        states = node.getState()
        if (role in (pyatspi.ROLE_TEXT, pyatspi.ROLE_ENTRY)
                and states.contains(pyatspi.STATE_EDITABLE)
                and states.contains(pyatspi.STATE_SHOWING)
                and has_dialog_ancestor(node)):
            return node
        for i in range(node.childCount):
            found = find_editable(node.getChildAtIndex(i), depth + 1)
            if found is not None:
                return found
    except Exception:
        return None
    return None


def dump(node, depth=0, out=None):
    """The accessible tree as indented "role 'name' [states]" lines, for failure reports."""
    out = [] if out is None else out
    if node is None or depth > 25:
        return out
    try:
        states = [pyatspi.stateToString(s) for s in node.getState().getStates()
                  if s in (pyatspi.STATE_SHOWING, pyatspi.STATE_EDITABLE, pyatspi.STATE_CHECKED)]
        out.append("  " * depth + f"{node.getRoleName()} '{node.name}' {states}")
        for i in range(node.childCount):
            dump(node.getChildAtIndex(i), depth + 1, out)
    except Exception as error:
        out.append("  " * depth + f"<{error}>")
    return out


def has_dialog_ancestor(node):
    while node is not None:
        if node.getRole() in (pyatspi.ROLE_DIALOG, pyatspi.ROLE_FILE_CHOOSER):
            return True
        node = node.parent
    return False


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--app", required=True)
    parser.add_argument("--work", required=True)
    parser.add_argument("--wayland", action="store_true",
                        help="the presenter is a Wayland desktop: touches are watched in wl.log")
    args = parser.parse_args()
    session = Session(args)
    steps = [session.pair, session.touchback_on, session.heartbeat, session.touches,
             session.double_click, session.cast_off, session.drop, session.upload,
             session.disconnect]
    if args.wayland:
        # What depends on the window system; drops from Wayland clients have their own tests.
        # The double click's sequence differs there (the compositor drops a press of a button
        # that is already down); the posting tests on mutter and kwin check it.
        steps = [session.pair_by_keyboard, session.touchback_on, session.touches,
                 session.cast_off]
    only = os.environ.get("E2E_STEPS")  # e.g. "pair,drop" while debugging one step
    if only:
        steps = [step for step in steps if step.__name__ in only.split(",")]
    try:
        for step in steps:
            step()
    except Failure as failure:
        print("FAIL:", failure, flush=True)
        with open(os.path.join(args.work, "accessible-tree.log"), "w") as f:
            f.write("\n".join(dump(session.app.root())) + "\n")
        return 1
    finally:
        session.app.stop()
    print("all end-to-end checks passed", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
