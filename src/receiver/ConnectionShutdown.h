#pragma once

#include <QHostAddress>

// Shuts down, in both directions, every TCP connection of this process to address:port, from
// outside the code that owns it; the descriptors stay open for their owners to close. A
// connection that keeps receiving after that is reset, so whoever reads it sees it end.
namespace ConnectionShutdown {

// Returns how many connections were shut down.
int shutdownConnectionsTo(const QHostAddress& address, quint16 port);

} // namespace ConnectionShutdown
