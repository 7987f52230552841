#pragma once

#include <QHash>
#include <QObject>
#include <QString>

#include <functional>
#include <list>
#include <memory>

struct wl_display;
struct wl_registry;
class QSocketNotifier;

// A Wayland connection of the application's own, dispatched from the event loop without ever
// blocking: reads when the socket is readable, and writes are flushed as far as the socket
// takes them (flush() says whether everything went out; flushed() follows when the rest did).
// The globals the compositor advertises are known once ready() has been emitted.
class WaylandConnection final : public QObject
{
    Q_OBJECT
public:
    struct Global
    {
        quint32 name = 0;
        quint32 version = 0;
    };
    using GlobalHandler = std::function<void(wl_registry*, const QString& interface, Global)>;

    struct Hooks; // what the C listeners call back
    struct Sync;

    explicit WaylandConnection(QObject* parent = nullptr);
    ~WaylandConnection() override;

    // Connects to WAYLAND_DISPLAY and asks for the globals; false when there is no compositor.
    // onGlobal sees every global as it is announced, before ready().
    bool open(GlobalHandler onGlobal = {});
    wl_display* display() const { return m_display; }
    bool isReady() const { return m_ready; }
    bool hasGlobal(const QString& interface) const { return m_globals.contains(interface); }
    Global global(const QString& interface) const { return m_globals.value(interface); }

    // Runs done once the compositor has handled every request made so far (and sent what they
    // answer), without waiting for it here.
    void whenSynced(std::function<void()> done);

    // Sends what is buffered; false when the socket took only part of it (flushed() follows).
    bool flush();
    bool isBlocked() const { return m_blocked; }

Q_SIGNALS:
    void ready(); // every global was announced
    void flushed(); // a blocked write went out
    void lost(); // the compositor closed the connection or reported an error

private:
    void readEvents();
    void writeBuffered();
    void fail();

    std::unique_ptr<Hooks> m_hooks;
    wl_display* m_display = nullptr;
    wl_registry* m_registry = nullptr;
    QSocketNotifier* m_readNotifier = nullptr;
    QSocketNotifier* m_writeNotifier = nullptr;
    QHash<QString, Global> m_globals;
    GlobalHandler m_onGlobal;
    std::list<std::function<void()>> m_syncs; // whenSynced() callbacks not run yet
    bool m_ready = false;
    bool m_blocked = false;
};
