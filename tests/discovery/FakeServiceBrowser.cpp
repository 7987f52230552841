#include "FakeServiceBrowser.h"

#include "discovery/DevicesListViewController.h"

void FakeServiceBrowser::install()
{
    DevicesListViewController::setBrowserFactory(
        [] { return std::make_unique<FakeServiceBrowser>(); });
}

FakeServiceBrowser* FakeServiceBrowser::of(const DevicesListViewController* controller)
{
    return qobject_cast<FakeServiceBrowser*>(controller->browser());
}

NetService FakeServiceBrowser::airplayService(const QString& name)
{
    return {name, QStringLiteral("_airplay._tcp."), QStringLiteral("local.")};
}

void FakeServiceBrowser::searchForServices(const QString& type, const QString& domain)
{
    m_type = type;
    m_domain = domain;
    ++m_searchCount;
}

void FakeServiceBrowser::resolve(const NetService& service, std::chrono::milliseconds timeout)
{
    m_resolveRequests.append({service, timeout});
    m_pending.append(service);
}

void FakeServiceBrowser::appear(const QString& serviceName)
{
    find(serviceName);
    resolvePending(serviceName);
}

void FakeServiceBrowser::disappear(const QString& serviceName)
{
    remove(serviceName);
}

void FakeServiceBrowser::find(const QString& serviceName, bool moreComing)
{
    reportFound(airplayService(serviceName), moreComing);
}

bool FakeServiceBrowser::resolvePending(const QString& serviceName)
{
    const NetService service = airplayService(serviceName);
    if (!m_pending.removeOne(service))
        return false;
    reportResolved(service);
    return true;
}

void FakeServiceBrowser::remove(const QString& serviceName, bool moreComing)
{
    reportRemoved(airplayService(serviceName), moreComing);
}
