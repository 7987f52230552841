"""Input and screenshots from outside a Wayland client, through the compositor's own remote
desktop and screen cast services: mutter's org.gnome.Mutter.RemoteDesktop / ScreenCast, or the
xdg-desktop-portal RemoteDesktop and ScreenCast portals (KDE grants them without a dialog: Plasma 5
asks nothing, and with-kwin authorises remote desktop in Plasma 6's permission store).

Both classes offer start(), move(x, y), button(pressed), key(evdev_code, pressed), and the
monitor's PipeWire stream (node, pipewire_fd) for FrameRecorder. Coordinates are the monitor's
logical pixels."""
import os
import re
import struct
import subprocess
import threading
import time
import zlib

import gi

gi.require_version('Gio', '2.0')
from gi.repository import Gio, GLib  # noqa: E402

BTN_LEFT = 272
KEY_ESC = 1
KEY_LEFTSHIFT = 42


def _pump_until(condition, seconds, what):
    ctx = GLib.MainContext.default()
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            raise RuntimeError('timed out waiting for ' + what)
        ctx.iteration(False) or time.sleep(0.005)


class _Bus:
    def __init__(self):
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)

    def call(self, name, path, iface, method, args, rtype=None, fds=False):
        reply_type = GLib.VariantType(rtype) if rtype else None
        if fds:
            return self.bus.call_with_unix_fd_list_sync(
                name, path, iface, method, args, reply_type, Gio.DBusCallFlags.NONE, 10000,
                None, None)
        return self.bus.call_sync(name, path, iface, method, args, reply_type,
                                  Gio.DBusCallFlags.NONE, 10000, None)


class MutterRemote(_Bus):
    """A RemoteDesktop session linked to a ScreenCast session of the primary monitor."""
    RD = 'org.gnome.Mutter.RemoteDesktop'
    SC = 'org.gnome.Mutter.ScreenCast'

    def start(self):
        self.session = self.call(self.RD, '/org/gnome/Mutter/RemoteDesktop', self.RD,
                                 'CreateSession', None, '(o)')[0]
        session_id = self.call(self.RD, self.session, 'org.freedesktop.DBus.Properties', 'Get',
                               GLib.Variant('(ss)', (self.RD + '.Session', 'SessionId')),
                               '(v)')[0]
        cast = self.call(self.SC, '/org/gnome/Mutter/ScreenCast', self.SC, 'CreateSession',
                         GLib.Variant('(a{sv})', ({'remote-desktop-session-id':
                                                   GLib.Variant('s', session_id)},)), '(o)')[0]
        self.stream = self.call(self.SC, cast, self.SC + '.Session', 'RecordMonitor',
                                GLib.Variant('(sa{sv})', ('', {})), '(o)')[0]
        self.node = None
        self.pipewire_fd = None

        def added(_conn, _sender, _path, _iface, _signal, params):
            self.node = params[0]
        self.bus.signal_subscribe(None, self.SC + '.Stream', 'PipeWireStreamAdded', self.stream,
                                  None, Gio.DBusSignalFlags.NONE, added)
        self._session('Start', None)
        _pump_until(lambda: self.node is not None, 10, 'the screen cast stream')
        # The virtual pointer and keyboard appear with their first event; a client that starts
        # before them would miss the first click while it binds the new device.
        self.move(0, 0)
        self.key(KEY_LEFTSHIFT, True)
        self.key(KEY_LEFTSHIFT, False)

    def _session(self, method, args):
        self.call(self.RD, self.session, self.RD + '.Session', method, args)

    def move(self, x, y):
        self._session('NotifyPointerMotionAbsolute',
                      GLib.Variant('(sdd)', (self.stream, float(x), float(y))))

    def button(self, pressed):
        self._session('NotifyPointerButton', GLib.Variant('(ib)', (BTN_LEFT, pressed)))

    def key(self, code, pressed):
        self._session('NotifyKeyboardKeycode', GLib.Variant('(ub)', (code, pressed)))


class PortalRemote(_Bus):
    """A RemoteDesktop portal session (keyboard and pointer) with one monitor shared."""
    DEST = 'org.freedesktop.portal.Desktop'
    PATH = '/org/freedesktop/portal/desktop'
    RD = 'org.freedesktop.portal.RemoteDesktop'
    SC = 'org.freedesktop.portal.ScreenCast'

    def __init__(self):
        super().__init__()
        self.sender = self.bus.get_unique_name()[1:].replace('.', '_')
        self.tokens = 0

    def _request(self, iface, method, make_args):
        """Calls a method that answers through a Request object; returns its results."""
        self.tokens += 1
        token = 'orventa_check_%d' % self.tokens
        path = '%s/request/%s/%s' % (self.PATH, self.sender, token)
        answer = {}

        def response(_conn, _sender, _path, _iface, _signal, params):
            answer['code'], answer['results'] = params.unpack()
        sub = self.bus.signal_subscribe(self.DEST, 'org.freedesktop.portal.Request', 'Response',
                                        path, None, Gio.DBusSignalFlags.NONE, response)
        try:
            self.call(self.DEST, self.PATH, iface, method, make_args(token), '(o)')
            _pump_until(lambda: answer, 30, method + "'s response")
        finally:
            self.bus.signal_unsubscribe(sub)
        if answer['code'] != 0:
            raise RuntimeError('%s refused (%d)' % (method, answer['code']))
        return answer['results']

    def start(self):
        results = self._request(self.RD, 'CreateSession', lambda t: GLib.Variant(
            '(a{sv})', ({'handle_token': GLib.Variant('s', t),
                         'session_handle_token': GLib.Variant('s', t)},)))
        self.session = results['session_handle']
        self._request(self.RD, 'SelectDevices', lambda t: GLib.Variant(
            '(oa{sv})', (self.session, {'handle_token': GLib.Variant('s', t),
                                        'types': GLib.Variant('u', 3)})))
        self._request(self.SC, 'SelectSources', lambda t: GLib.Variant(
            '(oa{sv})', (self.session, {'handle_token': GLib.Variant('s', t),
                                        'types': GLib.Variant('u', 1),
                                        'multiple': GLib.Variant('b', False)})))
        results = self._request(self.RD, 'Start', lambda t: GLib.Variant(
            '(osa{sv})', (self.session, '', {'handle_token': GLib.Variant('s', t)})))
        if results.get('devices', 0) & 3 != 3:
            raise RuntimeError('the portal did not grant keyboard and pointer')
        self.node = results['streams'][0][0]
        reply, fds = self.call(self.DEST, self.PATH, self.SC, 'OpenPipeWireRemote',
                               GLib.Variant('(oa{sv})', (self.session, {})), '(h)', fds=True)
        self.pipewire_fd = fds.get(reply[0])

    def _notify(self, method, signature, *args):
        self.call(self.DEST, self.PATH, self.RD, method,
                  GLib.Variant('(oa{sv}' + signature + ')', (self.session, {}) + args))

    def move(self, x, y):
        self._notify('NotifyPointerMotionAbsolute', 'udd', self.node, float(x), float(y))

    def button(self, pressed):
        self._notify('NotifyPointerButton', 'iu', BTN_LEFT, 1 if pressed else 0)

    def key(self, code, pressed):
        self._notify('NotifyKeyboardKeycode', 'iu', code, 1 if pressed else 0)


def remote_for(desktop):
    """mutter: its own services; kwin: the portals (granted without a dialog, see above)."""
    return {'mutter': MutterRemote, 'kwin': PortalRemote}[desktop]()


class FrameRecorder:
    """Records a screen with gst-launch-1.0, keeping the newest frames as raw RGB files, so that
    the newest frame is what the screen shows now. Sources: the remote's screen cast stream
    (compositors send a frame when the screen changes), or an X display sampled ten times a
    second (kwin drawing into a window at the origin of an Xvfb screen)."""

    def __init__(self, directory, remote=None, x11_display=None):
        self.directory = directory
        self.size = None
        pass_fds = ()
        if x11_display:
            source = ['ximagesrc', 'display-name=' + x11_display, 'use-damage=false',
                      'show-pointer=false', '!', 'video/x-raw,framerate=10/1']
        else:
            source = ['pipewiresrc', 'path=%d' % remote.node, 'always-copy=true']
            if remote.pipewire_fd is not None:
                source.append('fd=%d' % remote.pipewire_fd)
                pass_fds = (remote.pipewire_fd,)
        self.process = subprocess.Popen(
            ['gst-launch-1.0', '-v'] + source
            + ['!', 'videoconvert', '!', 'video/x-raw,format=RGB', '!', 'multifilesink',
               'location=' + os.path.join(directory, 'frame-%06d.rgb'), 'max-files=4',
               'sync=false'],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, pass_fds=pass_fds)
        threading.Thread(target=self._read_caps, daemon=True).start()

    def _read_caps(self):
        for line in self.process.stdout:
            if 'format=(string)RGB' not in line or self.size is not None:
                continue
            width = re.search(r'width=\(int\)(\d+)', line)
            height = re.search(r'height=\(int\)(\d+)', line)
            if width and height:
                self.size = (int(width.group(1)), int(height.group(1)))

    def latest(self):
        """(width, height, RGB bytes row by row) of the newest whole frame, or None."""
        if self.size is None:
            return None
        width, height = self.size
        stride = (width * 3 + 3) & ~3  # GStreamer rows start on 4-byte boundaries
        for name in sorted(os.listdir(self.directory), reverse=True):
            if not name.startswith('frame-'):
                continue
            try:
                with open(os.path.join(self.directory, name), 'rb') as f:
                    raw = f.read()
            except FileNotFoundError:  # rotated away while listed
                continue
            if len(raw) != stride * height:  # still being written
                continue
            if stride != width * 3:
                raw = b''.join(raw[r * stride:r * stride + width * 3] for r in range(height))
            return width, height, raw
        return None

    def stop(self):
        self.process.terminate()
        self.process.wait()


def write_png(path, width, height, rgb):
    """Writes RGB rows as an 8-bit PNG."""
    def chunk(kind, data):
        body = kind + data
        return struct.pack('>I', len(data)) + body + struct.pack('>I', zlib.crc32(body))
    rows = b''.join(b'\0' + rgb[y * width * 3:(y + 1) * width * 3] for y in range(height))
    with open(path, 'wb') as f:
        f.write(b'\x89PNG\r\n\x1a\n'
                + chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 2, 0, 0, 0))
                + chunk(b'IDAT', zlib.compress(rows, 1)) + chunk(b'IEND', b''))
