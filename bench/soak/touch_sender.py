#!/usr/bin/python3
"""Sends touch datagrams to UDP 127.0.0.1:41863 at a steady rate: MOVE records over an area
away from the application's window, with a DOWN/UP click every CLICK_EVERY datagrams.
   touch_sender.py COUNT RATE PROGRESS_FILE
Writes the number sent so far to PROGRESS_FILE once a second (and at the end)."""
import os
import socket
import sys
import time

count, rate, progress = int(sys.argv[1]), int(sys.argv[2]), sys.argv[3]
CLICK_EVERY = 10000
# Touch space is 0..32767 on a 1440x900 screen; x 950..1400 and y 650..890 in pixels.
X0, X1 = 950 * 32767 // 1440, 1400 * 32767 // 1440
Y0, Y1 = 650 * 32767 // 900, 890 * 32767 // 900

sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
target = ("127.0.0.1", 41863)
batch = max(1, rate // 200)  # sends in batches every 5 ms
start = time.monotonic()
last_report = 0.0
sent = 0
while sent < count:
    for _ in range(min(batch, count - sent)):
        x = X0 + (sent * 37) % (X1 - X0)
        y = Y0 + (sent * 11) % (Y1 - Y0)
        ts = int(time.time() * 1000)
        if sent % CLICK_EVERY == CLICK_EVERY - 2:
            kind = "DOWN"
        elif sent % CLICK_EVERY == CLICK_EVERY - 1:
            kind = "UP"
        else:
            kind = "MOVE"
        sock.sendto(f"{kind},{x},{y},{ts};".encode(), target)
        sent += 1
    now = time.monotonic()
    ahead = start + sent / rate - now
    if ahead > 0:
        time.sleep(ahead)
    if now - last_report >= 1.0 or sent == count:
        last_report = now
        with open(progress + ".tmp", "w") as f:
            f.write(f"{sent}\n")
        os.replace(progress + ".tmp", progress)
