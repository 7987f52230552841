#include "AvahiNetServiceBrowser.h"

#include "platform/Logging.h"

#include <QTimer>

#include <avahi-common/error.h>

namespace {

std::optional<std::chrono::milliseconds>& resolveTimeoutOverride()
{
    static std::optional<std::chrono::milliseconds> timeout;
    return timeout;
}

constexpr std::chrono::seconds kRetryAfterClientError {2};

} // namespace

struct AvahiNetServiceBrowser::Resolve
{
    NetService service;
    std::chrono::milliseconds timeout {};
    AvahiServiceResolver* resolver = nullptr;
    QTimer timer;
    AvahiNetServiceBrowser* owner = nullptr;
};

AvahiNetServiceBrowser::AvahiNetServiceBrowser(QObject* parent)
    : ServiceBrowser(parent)
{
    connectClient();
}

AvahiNetServiceBrowser::~AvahiNetServiceBrowser()
{
    for (const auto& resolve : m_resolves)
        avahi_service_resolver_free(resolve->resolver);
    m_resolves.clear();
    if (m_client)
        avahi_client_free(m_client); // frees the browser with it
}

void AvahiNetServiceBrowser::setResolveTimeoutOverrideForTesting(
    std::optional<std::chrono::milliseconds> timeout)
{
    resolveTimeoutOverride() = timeout;
}

void AvahiNetServiceBrowser::searchForServices(const QString& type, const QString& domain)
{
    m_search = std::make_pair(type, domain);
    if (m_client && avahi_client_get_state(m_client) == AVAHI_CLIENT_S_RUNNING)
        startBrowsing();
}

void AvahiNetServiceBrowser::resolve(const NetService& service, std::chrono::milliseconds timeout)
{
    if (!m_client) {
        qCWarning(lcDiscovery) << "Cannot resolve" << service.name << "without the Avahi daemon";
        return;
    }
    auto resolve = std::make_unique<Resolve>();
    resolve->service = service;
    resolve->timeout = resolveTimeoutOverride().value_or(timeout);
    resolve->owner = this;
    const QByteArray name = service.name.toUtf8();
    const QByteArray type = service.type.toUtf8();
    const QByteArray domain = service.domain.toUtf8();
    resolve->resolver = avahi_service_resolver_new(m_client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
        name.constData(), type.constData(), domain.constData(), AVAHI_PROTO_INET,
        static_cast<AvahiLookupFlags>(0), resolveCallback, resolve.get());
    if (!resolve->resolver) {
        qCWarning(lcDiscovery) << "Cannot resolve" << service.name << ":"
                               << avahi_strerror(avahi_client_errno(m_client));
        return;
    }
    // Our own deadline: given up without a report.
    Resolve* raw = resolve.get();
    resolve->timer.setSingleShot(true);
    connect(&resolve->timer, &QTimer::timeout, this, [this, raw] { finishResolve(raw); });
    resolve->timer.start(resolve->timeout);
    m_resolves.push_back(std::move(resolve));
}

QList<AvahiNetServiceBrowser::PendingResolve> AvahiNetServiceBrowser::pendingResolves() const
{
    QList<PendingResolve> pending;
    for (const auto& resolve : m_resolves)
        pending.append({resolve->service, resolve->timeout});
    return pending;
}

bool AvahiNetServiceBrowser::isConnected() const
{
    return m_client && avahi_client_get_state(m_client) == AVAHI_CLIENT_S_RUNNING;
}

void AvahiNetServiceBrowser::connectClient()
{
    int error = 0;
    // NO_FAIL: without a daemon the client waits in CONNECTING until one appears.
    m_client = avahi_client_new(m_poll.poll(), AVAHI_CLIENT_NO_FAIL, clientCallback, this, &error);
    if (!m_client) {
        qCWarning(lcDiscovery).noquote()
            << "Cannot create the Avahi client:" << avahi_strerror(error) << "- retrying";
        QTimer::singleShot(kRetryAfterClientError, this, [this] {
            if (!m_client)
                connectClient();
        });
    }
}

void AvahiNetServiceBrowser::clientCallback(
    AvahiClient* client, AvahiClientState state, void* userdata)
{
    static_cast<AvahiNetServiceBrowser*>(userdata)->onClientState(client, state);
}

void AvahiNetServiceBrowser::onClientState(AvahiClient* client, AvahiClientState state)
{
    switch (state) {
    case AVAHI_CLIENT_S_RUNNING:
        if (m_waitingLogged)
            qCInfo(lcDiscovery) << "The Avahi daemon is running; browsing for receivers";
        m_waitingLogged = false;
        m_client = client; // the first report can come before avahi_client_new returns
        if (m_search && !m_browser)
            startBrowsing();
        break;
    case AVAHI_CLIENT_CONNECTING:
        if (!m_waitingLogged)
            qCWarning(lcDiscovery)
                << "The Avahi daemon is not running; receivers will be discovered once it starts";
        m_waitingLogged = true;
        break;
    case AVAHI_CLIENT_FAILURE: {
        const int error = avahi_client_errno(client);
        if (error == AVAHI_ERR_DISCONNECTED) {
            qCWarning(lcDiscovery) << "Lost the connection to the Avahi daemon; reconnecting";
            m_client = client;
            dropClient();
            connectClient();
        } else {
            qCWarning(lcDiscovery).noquote()
                << "The Avahi client failed:" << avahi_strerror(error) << "- retrying";
            m_client = client;
            dropClient();
            QTimer::singleShot(kRetryAfterClientError, this, [this] {
                if (!m_client)
                    connectClient();
            });
        }
        break;
    }
    case AVAHI_CLIENT_S_REGISTERING:
    case AVAHI_CLIENT_S_COLLISION:
        break;
    }
}

void AvahiNetServiceBrowser::startBrowsing()
{
    const QByteArray type = m_search->first.toUtf8();
    const QByteArray domain = m_search->second.toUtf8();
    m_browser
        = avahi_service_browser_new(m_client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, type.constData(),
            domain.constData(), static_cast<AvahiLookupFlags>(0), browseCallback, this);
    if (!m_browser)
        qCWarning(lcDiscovery).noquote() << "Cannot browse for" << m_search->first << ":"
                                         << avahi_strerror(avahi_client_errno(m_client));
}

// Forgets everything the old client knew: its services are reported gone (the daemon that
// announced them is), its resolutions end without a report.
void AvahiNetServiceBrowser::dropClient()
{
    for (const auto& resolve : m_resolves)
        resolve->timer.stop();
    m_resolves.clear(); // the client frees its resolvers itself
    AvahiClient* client = m_client;
    m_client = nullptr;
    m_browser = nullptr;
    const auto gone = std::exchange(m_instances, {});
    for (const auto& entry : gone)
        reportRemoved(entry.first, false);
    avahi_client_free(client);
}

void AvahiNetServiceBrowser::browseCallback(::AvahiServiceBrowser*, AvahiIfIndex interface,
    AvahiProtocol protocol, AvahiBrowserEvent event, const char* name, const char* type,
    const char* domain, AvahiLookupResultFlags, void* userdata)
{
    NetService service;
    if (name)
        service = {QString::fromUtf8(name), QString::fromUtf8(type), QString::fromUtf8(domain)};
    static_cast<AvahiNetServiceBrowser*>(userdata)->onBrowseEvent(
        interface, protocol, event, service);
}

void AvahiNetServiceBrowser::onBrowseEvent(AvahiIfIndex interface, AvahiProtocol protocol,
    AvahiBrowserEvent event, const NetService& service)
{
    const InstanceKey key {interface, protocol};
    auto entry = std::find_if(
        m_instances.begin(), m_instances.end(), [&](const auto& e) { return e.first == service; });
    switch (event) {
    case AVAHI_BROWSER_NEW:
        if (entry != m_instances.end()) {
            entry->second.insert(key);
            return;
        }
        m_instances.append({service, QSet<InstanceKey> {key}});
        reportFound(service, false);
        break;
    case AVAHI_BROWSER_REMOVE:
        if (entry == m_instances.end())
            return;
        entry->second.remove(key);
        if (!entry->second.isEmpty())
            return;
        m_instances.erase(entry);
        reportRemoved(service, false);
        break;
    case AVAHI_BROWSER_FAILURE:
        qCWarning(lcDiscovery).noquote()
            << "Browsing failed:" << avahi_strerror(avahi_client_errno(m_client));
        break;
    case AVAHI_BROWSER_ALL_FOR_NOW:
    case AVAHI_BROWSER_CACHE_EXHAUSTED:
        break;
    }
}

void AvahiNetServiceBrowser::resolveCallback(AvahiServiceResolver*, AvahiIfIndex, AvahiProtocol,
    AvahiResolverEvent event, const char*, const char*, const char*, const char*,
    const AvahiAddress*, uint16_t, AvahiStringList*, AvahiLookupResultFlags, void* userdata)
{
    auto* resolve = static_cast<Resolve*>(userdata);
    // A failure report is not final: the resolver keeps listening until our deadline.
    if (event == AVAHI_RESOLVER_FOUND)
        resolve->owner->onResolved(resolve);
    else
        ++resolve->owner->m_resolverFailureReports;
}

void AvahiNetServiceBrowser::onResolved(Resolve* resolve)
{
    const NetService service = resolve->service;
    finishResolve(resolve);
    reportResolved(service);
}

void AvahiNetServiceBrowser::finishResolve(Resolve* resolve)
{
    auto it = std::find_if(m_resolves.begin(), m_resolves.end(),
        [resolve](const auto& r) { return r.get() == resolve; });
    if (it == m_resolves.end())
        return;
    std::unique_ptr<Resolve> done = std::move(*it);
    m_resolves.erase(it);
    done->timer.stop();
    avahi_service_resolver_free(done->resolver);
}
