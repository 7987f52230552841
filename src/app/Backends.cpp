#include "Backends.h"

#include "DesktopEventPoster.h"

#include "discovery/DevicesListViewController.h"
#include "platform/avahi/AvahiNetServiceBrowser.h"

#include <QCoreApplication>

#include <memory>

namespace Backends {

void installServiceBrowser()
{
    DevicesListViewController::setBrowserFactory(
        [] { return std::make_unique<AvahiNetServiceBrowser>(); });
}

void installEventPoster()
{
    // Owned by the application, so that its D-Bus sessions end before the bus connection does.
    auto* poster = new DesktopEventPoster(qApp);
    MouseEventPoster::setDefault(poster);
    QObject::connect(poster, &QObject::destroyed, [] { MouseEventPoster::setDefault(nullptr); });
}

} // namespace Backends
