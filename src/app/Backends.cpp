#include "Backends.h"

#include "discovery/DevicesListViewController.h"
#include "platform/avahi/AvahiNetServiceBrowser.h"
#include "platform/x11/XTestEventPoster.h"

#include <memory>

namespace Backends {

void installServiceBrowser()
{
    DevicesListViewController::setBrowserFactory(
        [] { return std::make_unique<AvahiNetServiceBrowser>(); });
}

void installEventPoster()
{
    installXTestEventPoster();
}

} // namespace Backends
