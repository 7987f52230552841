#include "WaylandConnection.h"

#include "Logging.h"

#include <QSocketNotifier>

#include <wayland-client.h>

#include <cerrno>

struct WaylandConnection::Sync
{
    std::list<std::function<void()>>* syncs;
    std::list<std::function<void()>>::iterator done;
    void run()
    {
        const std::function<void()> callback = std::move(*done);
        syncs->erase(done);
        delete this;
        callback();
    }
};

struct WaylandConnection::Hooks
{
    std::function<void(wl_registry*, const char*, uint32_t, uint32_t)> global;
    std::function<void()> synced;
};

namespace {
using Hooks = WaylandConnection::Hooks;

void onGlobal(
    void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t version)
{
    static_cast<Hooks*>(data)->global(registry, interface, name, version);
}

void onGlobalRemove(void*, wl_registry*, uint32_t)
{ }

const wl_registry_listener kRegistryListener {onGlobal, onGlobalRemove};

void onSyncDone(void* data, wl_callback* callback, uint32_t)
{
    wl_callback_destroy(callback);
    static_cast<Hooks*>(data)->synced();
}

const wl_callback_listener kSyncListener {onSyncDone};

void onLaterSyncDone(void* data, wl_callback* callback, uint32_t)
{
    wl_callback_destroy(callback);
    static_cast<WaylandConnection::Sync*>(data)->run();
}

const wl_callback_listener kLaterSyncListener {onLaterSyncDone};
} // namespace

WaylandConnection::WaylandConnection(QObject* parent)
    : QObject(parent)
{ }

WaylandConnection::~WaylandConnection()
{
    if (m_registry)
        wl_registry_destroy(m_registry);
    if (m_display) {
        wl_display_flush(m_display);
        wl_display_disconnect(m_display);
    }
}

bool WaylandConnection::open(GlobalHandler onGlobalAnnounced)
{
    m_display = wl_display_connect(nullptr);
    if (!m_display)
        return false;
    m_onGlobal = std::move(onGlobalAnnounced);
    m_hooks = std::make_unique<Hooks>();
    m_hooks->global
        = [this](wl_registry* registry, const char* interface, uint32_t name, uint32_t version) {
              const QString key = QString::fromLatin1(interface);
              m_globals.insert(key, {name, version});
              if (m_onGlobal)
                  m_onGlobal(registry, key, {name, version});
          };
    m_hooks->synced = [this] {
        m_ready = true;
        Q_EMIT ready();
    };
    m_registry = wl_display_get_registry(m_display);
    wl_registry_add_listener(m_registry, &kRegistryListener, m_hooks.get());
    wl_callback_add_listener(wl_display_sync(m_display), &kSyncListener, m_hooks.get());

    const int fd = wl_display_get_fd(m_display);
    m_readNotifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    connect(m_readNotifier, &QSocketNotifier::activated, this, &WaylandConnection::readEvents);
    m_writeNotifier = new QSocketNotifier(fd, QSocketNotifier::Write, this);
    m_writeNotifier->setEnabled(false);
    connect(m_writeNotifier, &QSocketNotifier::activated, this, &WaylandConnection::writeBuffered);
    flush();
    return true;
}

void WaylandConnection::whenSynced(std::function<void()> done)
{
    m_syncs.push_back(std::move(done));
    wl_callback_add_listener(wl_display_sync(m_display), &kLaterSyncListener,
        new Sync {&m_syncs, std::prev(m_syncs.end())});
    if (!m_blocked)
        flush();
}

bool WaylandConnection::flush()
{
    if (!m_display)
        return false;
    if (wl_display_flush(m_display) >= 0) {
        m_blocked = false;
        return true;
    }
    if (errno != EAGAIN) {
        fail();
        return false;
    }
    m_blocked = true;
    m_writeNotifier->setEnabled(true);
    return false;
}

void WaylandConnection::writeBuffered()
{
    m_writeNotifier->setEnabled(false);
    if (flush())
        Q_EMIT flushed();
}

void WaylandConnection::readEvents()
{
    // The socket is readable, so reading cannot block.
    while (wl_display_prepare_read(m_display) != 0)
        wl_display_dispatch_pending(m_display);
    if (wl_display_read_events(m_display) < 0 && errno != EAGAIN)
        return fail();
    if (wl_display_dispatch_pending(m_display) < 0)
        return fail();
    if (!m_blocked)
        flush(); // listeners may have made requests
}

void WaylandConnection::fail()
{
    if (!m_readNotifier->isEnabled())
        return;
    m_readNotifier->setEnabled(false);
    m_writeNotifier->setEnabled(false);
    qCWarning(lcPlatform) << "The Wayland compositor closed the connection (error"
                          << wl_display_get_error(m_display) << ")";
    Q_EMIT lost();
}
