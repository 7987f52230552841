#pragma once

#include "platform/ServiceBrowser.h"
#include "platform/avahi/AvahiQtPoll.h"

#include <QHash>
#include <QList>
#include <QSet>

#include <chrono>
#include <memory>
#include <optional>

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>

class QTimer;

// DNS-SD browsing and resolving through the Avahi daemon, on the Qt event loop.
//
// Avahi reports a service once per interface and protocol; this browser reports it found once
// and removed when its last instance goes. Resolution asks for IPv4 addresses and is given up
// silently when our own timeout expires (Avahi's failure reports, after 5 s, are not final: it
// keeps listening). The daemon may be absent at first or restart: the client waits for it and
// reconnects, browsing again when it is back.
class AvahiNetServiceBrowser : public ServiceBrowser
{
    Q_OBJECT
public:
    struct PendingResolve
    {
        NetService service;
        std::chrono::milliseconds timeout;
    };

    explicit AvahiNetServiceBrowser(QObject* parent = nullptr);
    ~AvahiNetServiceBrowser() override;

    void searchForServices(const QString& type, const QString& domain) override;
    void resolve(const NetService& service, std::chrono::milliseconds timeout) override;

    QList<PendingResolve> pendingResolves() const;
    bool isConnected() const;
    // How many interim failure reports Avahi made for resolutions still being waited for.
    int resolverFailureReports() const { return m_resolverFailureReports; }

    // Test hook: every resolution is given up after this time instead of the one asked for.
    static void setResolveTimeoutOverrideForTesting(
        std::optional<std::chrono::milliseconds> timeout);

private:
    struct Resolve;
    using InstanceKey = QPair<AvahiIfIndex, AvahiProtocol>;

    static void clientCallback(AvahiClient* client, AvahiClientState state, void* userdata);
    static void browseCallback(::AvahiServiceBrowser* browser, AvahiIfIndex interface,
        AvahiProtocol protocol, AvahiBrowserEvent event, const char* name, const char* type,
        const char* domain, AvahiLookupResultFlags flags, void* userdata);
    static void resolveCallback(AvahiServiceResolver* resolver, AvahiIfIndex interface,
        AvahiProtocol protocol, AvahiResolverEvent event, const char* name, const char* type,
        const char* domain, const char* hostName, const AvahiAddress* address, uint16_t port,
        AvahiStringList* txt, AvahiLookupResultFlags flags, void* userdata);

    void connectClient();
    void onClientState(AvahiClient* client, AvahiClientState state);
    void startBrowsing();
    void dropClient();
    void onBrowseEvent(AvahiIfIndex interface, AvahiProtocol protocol, AvahiBrowserEvent event,
        const NetService& service);
    void onResolved(Resolve* resolve);
    void finishResolve(Resolve* resolve);

    AvahiQtPoll m_poll;
    AvahiClient* m_client = nullptr;
    ::AvahiServiceBrowser* m_browser = nullptr;
    std::optional<std::pair<QString, QString>> m_search;
    bool m_waitingLogged = false;
    int m_resolverFailureReports = 0;
    // Which interface/protocol pairs currently announce each service.
    QList<std::pair<NetService, QSet<InstanceKey>>> m_instances;
    std::vector<std::unique_ptr<Resolve>> m_resolves;
};
