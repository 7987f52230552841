#pragma once

#include <QString>

namespace LocalAddress {

// This computer's own IPv4 address on its primary network interface, as dotted text, or the
// empty string when there is none. The primary interface is the one that carries the IPv4
// default route (the first such route in /proc/net/route); among its IPv4 addresses the last
// one reported by getifaddrs wins.
QString localWiFiAddress();

// The name of the interface that carries the IPv4 default route, or an empty string.
QString defaultRouteInterface();

} // namespace LocalAddress
