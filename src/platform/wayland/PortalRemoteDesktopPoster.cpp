#include "PortalRemoteDesktopPoster.h"

#include "PortalRequest.h"
#include "platform/DBusCalls.h"
#include "platform/Logging.h"
#include "platform/MainScreen.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QScreen>

namespace {
const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kRemoteDesktop = QStringLiteral("org.freedesktop.portal.RemoteDesktop");
const QString kScreenCast = QStringLiteral("org.freedesktop.portal.ScreenCast");
const QString kSession = QStringLiteral("org.freedesktop.portal.Session");
constexpr uint kPointerDevice = 2;
constexpr uint kMonitorSource = 1;
constexpr uint kPersistUntilRevoked = 2;
constexpr uint kCancelled = 1;
constexpr int kLeftButton = 272; // BTN_LEFT

struct Stream
{
    uint node = 0;
    QSize size;
};

// streams: a(ua{sv}); the first one is the monitor that was shared.
std::optional<Stream> firstStream(const QVariant& streams)
{
    const QDBusArgument argument = streams.value<QDBusArgument>();
    if (argument.currentType() != QDBusArgument::ArrayType)
        return std::nullopt;
    std::optional<Stream> first;
    argument.beginArray();
    while (!argument.atEnd()) {
        Stream stream;
        QVariantMap properties;
        argument.beginStructure();
        argument >> stream.node >> properties;
        argument.endStructure();
        const QDBusArgument size = properties.value(QStringLiteral("size")).value<QDBusArgument>();
        if (size.currentType() == QDBusArgument::StructureType) {
            int width = 0, height = 0;
            size.beginStructure();
            size >> width >> height;
            size.endStructure();
            stream.size = QSize(width, height);
        }
        if (!first)
            first = stream;
    }
    argument.endArray();
    return first;
}

QDBusMessage portalCall(const QString& interface, const QString& method)
{
    return QDBusMessage::createMethodCall(kService, kPath, interface, method);
}
} // namespace

PortalRemoteDesktopPoster::PortalRemoteDesktopPoster(QObject* parent)
    : QObject(parent)
    , m_bus(QDBusConnection::sessionBus())
{ }

PortalRemoteDesktopPoster::~PortalRemoteDesktopPoster()
{
    if (!m_sessionPath.isEmpty())
        m_bus.asyncCall(QDBusMessage::createMethodCall(
            kService, m_sessionPath, kSession, QStringLiteral("Close")));
}

void PortalRemoteDesktopPoster::prepare()
{
    if (m_state == State::Idle || m_state == State::Failed)
        createSession();
}

void PortalRemoteDesktopPoster::finish()
{
    if (m_state != State::Running || m_restoreToken.isEmpty())
        return; // without a token a new session would ask the user again
    m_pending.discard("touchback stopped");
    m_outgoing.discard("touchback stopped");
    m_bus.disconnect(
        kService, m_sessionPath, kSession, QStringLiteral("Closed"), this, SLOT(sessionClosed()));
    m_bus.asyncCall(
        QDBusMessage::createMethodCall(kService, m_sessionPath, kSession, QStringLiteral("Close")));
    m_sessionPath.clear();
    m_state = State::Idle;
    qCInfo(lcInput) << "Remote desktop portal session closed with touchback";
}

void PortalRemoteDesktopPoster::createSession()
{
    m_state = State::Starting;
    auto message = portalCall(kRemoteDesktop, QStringLiteral("CreateSession"));
    message << QVariantMap {{QStringLiteral("session_handle_token"), PortalRequest::nextToken()}};
    PortalRequest::send(m_bus, message, this, [this](uint response, const QVariantMap& results) {
        if (response != 0)
            return giveUp(State::Failed,
                QStringLiteral("the portal did not create a session (%1)")
                    .arg(results.value(QStringLiteral("error"), response).toString()));
        const QVariant handle = results.value(QStringLiteral("session_handle"));
        m_sessionPath
            = handle.canConvert<QDBusObjectPath>() && handle.userType() != QMetaType::QString
            ? handle.value<QDBusObjectPath>().path()
            : handle.toString();
        m_bus.connect(kService, m_sessionPath, kSession, QStringLiteral("Closed"), this,
            SLOT(sessionClosed()));
        selectDevices();
    });
}

void PortalRemoteDesktopPoster::selectDevices()
{
    QVariantMap options {{QStringLiteral("types"), kPointerDevice},
        {QStringLiteral("persist_mode"), kPersistUntilRevoked}};
    if (!m_restoreToken.isEmpty())
        options.insert(QStringLiteral("restore_token"), m_restoreToken);
    auto message = portalCall(kRemoteDesktop, QStringLiteral("SelectDevices"));
    message << QVariant::fromValue(QDBusObjectPath(m_sessionPath)) << options;
    PortalRequest::send(m_bus, message, this, [this](uint response, const QVariantMap&) {
        if (response != 0)
            return giveUp(State::Failed, QStringLiteral("the portal refused to offer the pointer"));
        selectSources();
    });
}

void PortalRemoteDesktopPoster::selectSources()
{
    auto message = portalCall(kScreenCast, QStringLiteral("SelectSources"));
    message << QVariant::fromValue(QDBusObjectPath(m_sessionPath))
            << QVariantMap {
                   {QStringLiteral("types"), kMonitorSource}, {QStringLiteral("multiple"), false}};
    PortalRequest::send(m_bus, message, this, [this](uint response, const QVariantMap&) {
        if (response != 0)
            return giveUp(State::Failed, QStringLiteral("the portal refused to share a monitor"));
        startSession();
    });
}

void PortalRemoteDesktopPoster::startSession()
{
    // The desktop may now ask the user; the answer can take as long as the user needs.
    qCInfo(lcInput) << "Asking the desktop for permission to control the pointer";
    auto message = portalCall(kRemoteDesktop, QStringLiteral("Start"));
    message << QVariant::fromValue(QDBusObjectPath(m_sessionPath)) << QString() << QVariantMap();
    PortalRequest::send(m_bus, message, this, [this](uint response, const QVariantMap& results) {
        if (response == kCancelled)
            return giveUp(State::Refused,
                QStringLiteral("the user did not allow this application to control the pointer"));
        if (response != 0)
            return giveUp(State::Refused,
                QStringLiteral("the desktop did not start the remote desktop session (%1)")
                    .arg(results.value(QStringLiteral("error"), response).toString()));
        sessionStarted(results);
    });
}

void PortalRemoteDesktopPoster::sessionStarted(const QVariantMap& results)
{
    const uint devices = results.value(QStringLiteral("devices")).toUInt();
    if (!(devices & kPointerDevice))
        return giveUp(State::Refused,
            QStringLiteral("the screen was shared without remote interaction, so the pointer "
                           "cannot be controlled"));
    const std::optional<Stream> stream = firstStream(results.value(QStringLiteral("streams")));
    if (!stream)
        return giveUp(State::Refused, QStringLiteral("the desktop shared no monitor"));
    m_node = stream->node;
    m_streamSize = stream->size;
    m_restoreToken = results.value(QStringLiteral("restore_token")).toString();
    m_state = State::Running;
    m_callErrorReported = false;
    qCInfo(lcInput) << "Remote desktop portal session started: touches are posted";
    m_pending.replay([this](const MouseEvent& event) { send(event); });
    Q_EMIT started();
}

void PortalRemoteDesktopPoster::giveUp(State state, const QString& why)
{
    m_state = state;
    qCWarning(lcInput).noquote() << "Touches cannot be posted:" << why
                                 << (state == State::Refused
                                            ? "(not asked again until the application restarts)"
                                            : "(tried again at the next touchback start)");
    m_pending.discard("the desktop session did not start");
    if (!m_sessionPath.isEmpty()) {
        m_bus.asyncCall(QDBusMessage::createMethodCall(
            kService, m_sessionPath, kSession, QStringLiteral("Close")));
        m_sessionPath.clear();
    }
    Q_EMIT failed();
}

void PortalRemoteDesktopPoster::sessionClosed()
{
    if (m_state == State::Refused || m_state == State::Failed)
        return; // closed by giveUp(), already said why
    m_sessionPath.clear();
    m_outgoing.discard("the desktop ended the session");
    if (m_restoreToken.isEmpty()) {
        m_state = State::Refused;
        qCWarning(lcInput) << "The desktop ended the remote desktop session; touches are not "
                              "posted until the application restarts";
        return;
    }
    // The desktop remembers the permission: a new session needs no question.
    m_state = State::Idle;
    qCInfo(lcInput)
        << "The desktop ended the remote desktop session; it is made anew for the next touch";
}

std::optional<KeyEvent> PortalRemoteDesktopPoster::createKeyEvent(std::uint16_t, bool)
{
    return std::nullopt; // only the pointer is asked for
}

void PortalRemoteDesktopPoster::postKeyEvent(const KeyEvent&)
{ }

void PortalRemoteDesktopPoster::postMouseEvent(const MouseEvent& event)
{
    switch (m_state) {
    case State::Running:
        return send(event);
    case State::Idle:
        createSession();
        [[fallthrough]];
    case State::Starting:
        return m_pending.push(event);
    case State::Failed:
    case State::Refused:
        return; // already said why
    }
}

QPointF PortalRemoteDesktopPoster::toStream(QPointF point) const
{
    const QScreen* screen = MainScreen::current();
    if (!screen || screen->geometry().isEmpty() || m_streamSize.isEmpty())
        return point;
    const QSize points = screen->geometry().size();
    return {point.x() * m_streamSize.width() / points.width(),
        point.y() * m_streamSize.height() / points.height()};
}

void PortalRemoteDesktopPoster::send(const MouseEvent& event)
{
    m_outgoing.push(event); // drops motions, never a button, when the portal falls behind
    sendNext();
}

void PortalRemoteDesktopPoster::sendNext()
{
    // One call at a time: xdg-desktop-portal handles calls on worker threads, so two calls in
    // flight can reach the desktop swapped (a release before its press).
    if (m_inFlight || m_state != State::Running)
        return;
    const std::optional<MouseEvent> event = m_outgoing.takeFirst();
    if (!event)
        return;
    m_inFlight = true;
    const QPointF at = toStream(event->point);
    callSession(QStringLiteral("NotifyPointerMotionAbsolute"), {m_node, at.x(), at.y()},
        [this, kind = event->kind] {
            if (kind != MouseEventKind::LeftDown && kind != MouseEventKind::LeftUp)
                return sent();
            callSession(QStringLiteral("NotifyPointerButton"),
                {kLeftButton, uint(kind == MouseEventKind::LeftDown ? 1 : 0)}, [this] { sent(); });
        });
}

void PortalRemoteDesktopPoster::sent()
{
    m_inFlight = false;
    sendNext();
}

void PortalRemoteDesktopPoster::callSession(
    const QString& method, const QList<QVariant>& arguments, std::function<void()> then)
{
    auto message = portalCall(kRemoteDesktop, method);
    message.setArguments(
        QList<QVariant> {QVariant::fromValue(QDBusObjectPath(m_sessionPath)), QVariantMap()}
        + arguments);
    DBusCalls::call(
        m_bus, message, this, [this, method, then = std::move(then)](const QDBusMessage& reply) {
            if (DBusCalls::failed(reply) && !m_callErrorReported) {
                m_callErrorReported = true;
                qCWarning(lcInput).noquote()
                    << "The portal rejected" << method
                    << "(" + reply.errorName() + ": " + reply.errorMessage() + ")";
            }
            then();
        });
}
