#pragma once

// The application's choice of platform backends: which service browser the receiver list uses
// and which poster replays touches. The platform layer offers the backends; this wires them.
namespace Backends {
// The receiver list browses with the Avahi daemon.
void installServiceBrowser();
// Touches are posted with the backend that suits the desktop session (XTest on X11, GNOME's
// remote desktop service or the RemoteDesktop portal on Wayland), chosen at the first
// touchback start.
void installEventPoster();
} // namespace Backends
