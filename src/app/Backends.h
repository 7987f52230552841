#pragma once

// The application's choice of platform backends: which service browser the receiver list uses
// and which poster replays touches. The platform layer offers the backends; this wires them.
namespace Backends {
// The receiver list browses with the Avahi daemon.
void installServiceBrowser();
// Touches are posted with XTest on the application's X connection.
void installEventPoster();
} // namespace Backends
