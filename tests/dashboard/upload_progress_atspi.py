"""Reads the drop area's upload progress from outside the process through AT-SPI.

Two uploads run side by side to receiver-sim, which reads them slowly (its test-only
upload-rate): each shows a progress bar (progress-bar role, named after its file) whose value
grows, the file's name, and a line with the rate and the time left; both are gone once the
uploads end, which succeed with nothing but their standard-output lines.
Run with Debian's /usr/bin/python3 (it has pyatspi) inside dbus-run-session, under an X server,
in a private network namespace (the simulator serves 127.0.0.1:5000 and :5505 there).
Usage: upload_progress_atspi.py <upload_progress_atspi_app> <receiver-sim> <work dir>
"""
import os
import re
import subprocess
import sys
import time

import pyatspi
from gi.repository import GLib

APP_NAME = "upload-progress-atspi-app"
FILES = {"talk.mp4": 40 * 1000 * 1000, "slides.pdf": 28 * 1000 * 1000}
RATE = 4 * 1000 * 1000  # bytes a second, per upload
STATUS = re.compile(r"^\d+(\.\d)? (MB|kB)/s, \d+:\d\d left$")


def wait_for(what, probe, timeout=30.0):
    """Polls an observable condition until it holds; fails the test after the timeout."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        while GLib.MainContext.default().iteration(False):
            pass
        result = probe()
        if result:
            return result
        time.sleep(0.1)
    sys.exit(f"FAIL: timed out waiting for {what}")


def application():
    for app in pyatspi.Registry.getDesktop(0):
        if app is not None and app.name == APP_NAME:
            return app
    return None


def nodes(role):
    app = application()
    if app is None:
        return []
    return pyatspi.findAllDescendants(app, lambda n: n is not None and n.getRole() == role)


def bars():
    return {n.name: n for n in nodes(pyatspi.ROLE_PROGRESS_BAR) if n.name.startswith("Uploading ")}


def labels():
    return [n.name for n in nodes(pyatspi.ROLE_LABEL)]


def main():
    app_path, sim_path, work = sys.argv[1:4]
    paths = []
    for name, size in FILES.items():
        path = os.path.join(work, name)
        with open(path, "wb") as f:
            f.truncate(size)
        paths.append(path)
    sim = subprocess.Popen([sim_path, "127.0.0.1"], stdin=subprocess.PIPE,
                           stdout=subprocess.PIPE, text=True)
    assert sim.stdout.readline().startswith("ready"), "the simulator did not start"
    sim.stdin.write(f"upload-rate {RATE}\n")
    sim.stdin.flush()
    assert sim.stdout.readline().startswith("ok upload-rate"), "upload-rate refused"

    env = dict(os.environ, QT_ACCESSIBILITY="1")
    out_path = os.path.join(work, "app.out")
    with open(out_path, "w") as out:
        app = subprocess.Popen([app_path, "127.0.0.1"] + paths, stdin=subprocess.PIPE,
                               stdout=out, env=env)
    try:
        expected = {"Uploading " + name for name in FILES}
        wait_for("a progress bar per upload", lambda: expected <= set(bars()))
        print("found", sorted(bars()))
        for name in FILES:
            wait_for(f"the name {name}", lambda: name in labels())
        values = {}
        for name, bar in bars().items():
            values[name] = bar.queryValue().currentValue
            assert bar.queryValue().maximumValue == 100, bar.queryValue().maximumValue
        wait_for("the rate and the time left", lambda: sum(
            1 for text in labels() if STATUS.match(text)) >= 2)
        print("status lines:", [t for t in labels() if STATUS.match(t)])
        wait_for("the bars to move on", lambda: all(
            bar.queryValue().currentValue > values.get(name, 0) for name, bar in bars().items())
            and len(bars()) == 2)
        print("values:", {n: b.queryValue().currentValue for n, b in bars().items()})
        wait_for("the bars to go when the uploads end", lambda: not bars(), timeout=60.0)
        wait_for("both uploads to succeed", lambda: open(out_path).read().count(
            "Successfully uploaded") == 2)
        text = open(out_path).read()
        assert "alert:" not in text, text
        print("PASS")
    finally:
        app.stdin.close()
        app.wait(timeout=10)
        sim.stdin.close()
        sim.kill()


if __name__ == "__main__":
    main()
