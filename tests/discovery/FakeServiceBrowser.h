#pragma once

#include "platform/NetService.h"
#include "platform/ServiceBrowser.h"

#include <QList>
#include <QPointer>

#include <chrono>

class DevicesListViewController;

// A service browser driven by the test: it records what it was asked and reports what the
// test makes happen, through the same callback boundary as the real backends.
class FakeServiceBrowser : public ServiceBrowser
{
    Q_OBJECT
public:
    struct ResolveRequest
    {
        NetService service;
        std::chrono::milliseconds timeout;
    };

    // Makes every controller whose view loads from now on get a new fake browser.
    static void install();
    // The fake browser of the controller (its view must have loaded), or null.
    static FakeServiceBrowser* of(const DevicesListViewController* controller);

    static NetService airplayService(const QString& name);

    void searchForServices(const QString& type, const QString& domain) override;
    void resolve(const NetService& service, std::chrono::milliseconds timeout) override;

    // Found, then resolved: the receiver is listed if its name passes.
    void appear(const QString& serviceName);
    // Removed from the network.
    void disappear(const QString& serviceName);

    void find(const QString& serviceName, bool moreComing = false);
    // Reports success for the oldest pending resolution of that name; false when none.
    bool resolvePending(const QString& serviceName);
    void remove(const QString& serviceName, bool moreComing = false);

    QString searchedType() const { return m_type; }
    QString searchedDomain() const { return m_domain; }
    int searchCount() const { return m_searchCount; }
    const QList<ResolveRequest>& resolveRequests() const { return m_resolveRequests; }
    // Drops the record of resolve requests (long runs keep it from growing).
    void forgetResolveRequests() { m_resolveRequests.clear(); }
    const QList<NetService>& pendingResolves() const { return m_pending; }

private:
    QString m_type;
    QString m_domain;
    int m_searchCount = 0;
    QList<ResolveRequest> m_resolveRequests;
    QList<NetService> m_pending;
};
