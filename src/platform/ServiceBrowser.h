#pragma once

#include "NetService.h"

#include <QObject>

#include <chrono>

class ServiceBrowserDelegate;

// Browses one service type in a domain and resolves the services it finds. Backends report
// through the protected report* functions, which run the delegate behind the callback
// boundary: an exception thrown by the delegate is logged and the event loop goes on.
class ServiceBrowser : public QObject
{
    Q_OBJECT
public:
    explicit ServiceBrowser(QObject* parent = nullptr);
    ~ServiceBrowser() override;

    ServiceBrowserDelegate* delegate() const { return m_delegate; }
    void setDelegate(ServiceBrowserDelegate* delegate) { m_delegate = delegate; }

    virtual void searchForServices(const QString& type, const QString& domain) = 0;
    // Reports success once through serviceDidResolveAddress; gives up silently after timeout.
    virtual void resolve(const NetService& service, std::chrono::milliseconds timeout) = 0;

protected:
    void reportFound(const NetService& service, bool moreComing);
    void reportRemoved(const NetService& service, bool moreComing);
    void reportResolved(const NetService& service);

private:
    ServiceBrowserDelegate* m_delegate = nullptr;
};
