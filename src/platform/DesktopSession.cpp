#include "DesktopSession.h"

#include "DBusCalls.h"
#include "WaylandConnection.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QTimer>

#include <memory>
#include <utility>

namespace DesktopSession {
namespace {
constexpr int kPortalAnswerMs = 10000; // the portal may be started on demand
constexpr int kCompositorAnswerMs = 5000;

QDBusMessage busCall(const QString& method)
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus"), method);
}

// The last resort: the compositor's own globals, on a short-lived connection.
void askCompositor(QObject* context, std::function<void(Choice)> done, QString portalError)
{
    auto* connection = new WaylandConnection(context);
    const QString neither = QStringLiteral(
        "this Wayland desktop offers neither GNOME's remote desktop service, nor the "
        "RemoteDesktop portal (%1), nor the wlroots virtual pointer")
                                .arg(portalError);
    if (!connection->open()) {
        delete connection;
        return done({Backend::None, neither + QStringLiteral(" (no Wayland compositor answers)")});
    }
    auto answered = std::make_shared<bool>(false);
    const auto answer = [connection, answered, done, neither] {
        if (std::exchange(*answered, true))
            return;
        const bool offered
            = connection->hasGlobal(QStringLiteral("zwlr_virtual_pointer_manager_v1"));
        connection->deleteLater();
        done(offered ? Choice {Backend::WlrVirtualPointer, {}} : Choice {Backend::None, neither});
    };
    QObject::connect(connection, &WaylandConnection::ready, context, answer);
    QObject::connect(connection, &WaylandConnection::lost, context, answer);
    QTimer::singleShot(kCompositorAnswerMs, connection, answer);
}

void askPortal(QDBusConnection bus, QObject* context, std::function<void(Choice)> done)
{
    auto message = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.portal.Desktop"),
        QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message << QStringLiteral("org.freedesktop.portal.RemoteDesktop") << QStringLiteral("version");
    DBusCalls::call(
        bus, message, context,
        [context, done](const QDBusMessage& reply) {
            if (!DBusCalls::failed(reply))
                return done({Backend::RemoteDesktopPortal, {}});
            askCompositor(context, done, reply.errorMessage());
        },
        kPortalAnswerMs);
}
} // namespace

Environment Environment::current()
{
    return {qEnvironmentVariable("XDG_SESSION_TYPE"), qEnvironmentVariable("WAYLAND_DISPLAY"),
        qEnvironmentVariable("DISPLAY")};
}

Kind kindOf(const Environment& environment)
{
    const QString type = environment.sessionType.toLower();
    if (type == QLatin1String("wayland"))
        return Kind::Wayland;
    if (type == QLatin1String("x11"))
        return Kind::X11;
    if (!environment.waylandDisplay.isEmpty())
        return Kind::Wayland;
    if (!environment.x11Display.isEmpty())
        return Kind::X11;
    return Kind::Unknown;
}

void choose(const Environment& environment, QObject* context, std::function<void(Choice)> done)
{
    switch (kindOf(environment)) {
    case Kind::X11:
        return done({Backend::XTest, {}});
    case Kind::Unknown:
        return done({Backend::None,
            QStringLiteral("neither a Wayland nor an X11 session (XDG_SESSION_TYPE, "
                           "WAYLAND_DISPLAY and DISPLAY are unset)")});
    case Kind::Wayland:
        break;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return askCompositor(context, done, QStringLiteral("no D-Bus session bus"));
    auto message = busCall(QStringLiteral("NameHasOwner"));
    message << QStringLiteral("org.gnome.Mutter.RemoteDesktop");
    DBusCalls::call(bus, message, context, [bus, context, done](const QDBusMessage& reply) {
        if (!DBusCalls::failed(reply) && reply.arguments().value(0).toBool())
            return done({Backend::MutterRemoteDesktop, {}});
        askPortal(bus, context, done);
    });
}

QString nameOf(Backend backend)
{
    switch (backend) {
    case Backend::XTest:
        return QStringLiteral("XTest (X11 session)");
    case Backend::MutterRemoteDesktop:
        return QStringLiteral("GNOME remote desktop (org.gnome.Mutter.RemoteDesktop)");
    case Backend::RemoteDesktopPortal:
        return QStringLiteral("RemoteDesktop portal (org.freedesktop.portal.RemoteDesktop)");
    case Backend::WlrVirtualPointer:
        return QStringLiteral("wlroots virtual pointer (zwlr_virtual_pointer_manager_v1)");
    case Backend::None:
        break;
    }
    return QStringLiteral("none");
}

} // namespace DesktopSession
