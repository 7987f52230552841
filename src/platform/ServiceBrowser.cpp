#include "ServiceBrowser.h"

#include "ServiceBrowserDelegate.h"
#include "platform/CallbackBoundary.h"

ServiceBrowser::ServiceBrowser(QObject* parent)
    : QObject(parent)
{ }

ServiceBrowser::~ServiceBrowser() = default;

void ServiceBrowser::reportFound(const NetService& service, bool moreComing)
{
    if (!m_delegate)
        return;
    CallbackBoundary::invoke(QStringLiteral("service found: %1").arg(service.name),
        [&] { m_delegate->serviceBrowserDidFindService(this, service, moreComing); });
}

void ServiceBrowser::reportRemoved(const NetService& service, bool moreComing)
{
    if (!m_delegate)
        return;
    CallbackBoundary::invoke(QStringLiteral("service removed: %1").arg(service.name),
        [&] { m_delegate->serviceBrowserDidRemoveService(this, service, moreComing); });
}

void ServiceBrowser::reportResolved(const NetService& service)
{
    if (!m_delegate)
        return;
    CallbackBoundary::invoke(QStringLiteral("service resolved: %1").arg(service.name),
        [&] { m_delegate->serviceDidResolveAddress(service); });
}
