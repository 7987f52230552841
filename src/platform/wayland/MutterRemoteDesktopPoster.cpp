#include "MutterRemoteDesktopPoster.h"

#include "platform/DBusCalls.h"
#include "platform/Logging.h"
#include "platform/MainScreen.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QScreen>
#include <QTimer>

#include <utility>

namespace {
const QString kRemoteDesktop = QStringLiteral("org.gnome.Mutter.RemoteDesktop");
const QString kRemoteDesktopSession = QStringLiteral("org.gnome.Mutter.RemoteDesktop.Session");
const QString kScreenCast = QStringLiteral("org.gnome.Mutter.ScreenCast");
const QString kScreenCastSession = QStringLiteral("org.gnome.Mutter.ScreenCast.Session");
constexpr int kLeftButton = 272; // BTN_LEFT
constexpr uint kCursorEmbedded = 1;
constexpr int kSettleMs = 150; // several frames of mutter's, also on a loaded machine

QString errorText(const QDBusMessage& error)
{
    return error.errorName() + QLatin1String(": ") + error.errorMessage();
}
} // namespace

MutterRemoteDesktopPoster::MutterRemoteDesktopPoster(QObject* parent)
    : QObject(parent)
    , m_bus(QDBusConnection::sessionBus())
{ }

MutterRemoteDesktopPoster::~MutterRemoteDesktopPoster()
{
    // Ends the screen-sharing indicator with the application; nobody waits for the answer.
    if (!m_sessionPath.isEmpty())
        m_bus.asyncCall(QDBusMessage::createMethodCall(
            kRemoteDesktop, m_sessionPath, kRemoteDesktopSession, QStringLiteral("Stop")));
}

void MutterRemoteDesktopPoster::prepare()
{
    m_stopWhenStarted = false;
    if (m_state == State::Idle || m_state == State::Failed)
        createRemoteDesktopSession();
}

void MutterRemoteDesktopPoster::finish()
{
    if (m_state != State::Starting && m_state != State::Running)
        return;
    m_pending.discard("touchback stopped");
    m_settling = false;
    if (m_state == State::Starting) {
        // Mutter stops only a started session: it is stopped as soon as it has started.
        m_stopWhenStarted = true;
        return;
    }
    stopSession();
    m_state = State::Idle;
    qCInfo(lcInput) << "GNOME remote desktop session stopped with touchback";
}

void MutterRemoteDesktopPoster::stopSession()
{
    if (m_sessionPath.isEmpty())
        return;
    m_bus.disconnect(kRemoteDesktop, m_sessionPath, kRemoteDesktopSession, QStringLiteral("Closed"),
        this, SLOT(sessionClosed()));
    // No answer wanted; mutter stops the linked screen cast with it.
    m_bus.send(QDBusMessage::createMethodCall(
        kRemoteDesktop, m_sessionPath, kRemoteDesktopSession, QStringLiteral("Stop")));
    m_sessionPath.clear();
    m_streamPath.clear();
}

void MutterRemoteDesktopPoster::createRemoteDesktopSession()
{
    m_state = State::Starting;
    m_sessionPath.clear();
    m_streamPath.clear();
    const auto message = QDBusMessage::createMethodCall(kRemoteDesktop,
        QStringLiteral("/org/gnome/Mutter/RemoteDesktop"), kRemoteDesktop,
        QStringLiteral("CreateSession"));
    DBusCalls::call(m_bus, message, this, [this](const QDBusMessage& reply) {
        if (DBusCalls::failed(reply))
            return fail(QStringLiteral("CreateSession"), reply);
        m_sessionPath = reply.arguments().value(0).value<QDBusObjectPath>().path();
        m_bus.connect(kRemoteDesktop, m_sessionPath, kRemoteDesktopSession,
            QStringLiteral("Closed"), this, SLOT(sessionClosed()));
        readSessionId();
    });
}

void MutterRemoteDesktopPoster::readSessionId()
{
    auto message = QDBusMessage::createMethodCall(kRemoteDesktop, m_sessionPath,
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message << kRemoteDesktopSession << QStringLiteral("SessionId");
    DBusCalls::call(m_bus, message, this, [this](const QDBusMessage& reply) {
        if (DBusCalls::failed(reply))
            return fail(QStringLiteral("SessionId"), reply);
        createScreenCastSession(
            reply.arguments().value(0).value<QDBusVariant>().variant().toString());
    });
}

void MutterRemoteDesktopPoster::createScreenCastSession(const QString& sessionId)
{
    auto message = QDBusMessage::createMethodCall(kScreenCast,
        QStringLiteral("/org/gnome/Mutter/ScreenCast"), kScreenCast,
        QStringLiteral("CreateSession"));
    message << QVariantMap {{QStringLiteral("remote-desktop-session-id"), sessionId}};
    DBusCalls::call(m_bus, message, this, [this](const QDBusMessage& reply) {
        if (DBusCalls::failed(reply))
            return fail(QStringLiteral("ScreenCast.CreateSession"), reply);
        m_screenCastPath = reply.arguments().value(0).value<QDBusObjectPath>().path();
        // The monitor holding the window: Qt names a Wayland screen after its output's
        // connector.
        const QScreen* screen = MainScreen::current();
        recordMonitor(screen ? screen->name() : QString());
    });
}

void MutterRemoteDesktopPoster::recordMonitor(const QString& connector)
{
    auto message = QDBusMessage::createMethodCall(
        kScreenCast, m_screenCastPath, kScreenCastSession, QStringLiteral("RecordMonitor"));
    message << connector << QVariantMap {{QStringLiteral("cursor-mode"), kCursorEmbedded}};
    DBusCalls::call(m_bus, message, this, [this, connector](const QDBusMessage& reply) {
        if (DBusCalls::failed(reply) && !connector.isEmpty()) {
            // An unknown connector: the primary monitor (an empty connector) is the fallback.
            qCInfo(lcInput).noquote() << "GNOME does not know the monitor" << connector
                                      << "- touches go to its primary monitor";
            return recordMonitor(QString());
        }
        if (DBusCalls::failed(reply))
            return fail(QStringLiteral("RecordMonitor"), reply);
        m_streamPath = reply.arguments().value(0).value<QDBusObjectPath>().path();
        startSession();
    });
}

void MutterRemoteDesktopPoster::startSession()
{
    const auto message = QDBusMessage::createMethodCall(
        kRemoteDesktop, m_sessionPath, kRemoteDesktopSession, QStringLiteral("Start"));
    DBusCalls::call(m_bus, message, this, [this](const QDBusMessage& reply) {
        if (DBusCalls::failed(reply))
            return fail(QStringLiteral("Start"), reply);
        if (std::exchange(m_stopWhenStarted, false)) {
            stopSession();
            m_state = State::Idle;
            qCInfo(lcInput) << "GNOME remote desktop session stopped with touchback";
            return;
        }
        m_state = State::Running;
        m_callErrorReported = false;
        m_firstMotion = true;
        m_settling = false;
        qCInfo(lcInput) << "GNOME remote desktop session started: touches are posted";
        m_pending.replay([this](const MouseEvent& event) { send(event); });
        Q_EMIT started();
    });
}

void MutterRemoteDesktopPoster::fail(const QString& step, const QDBusMessage& error)
{
    m_state = State::Failed;
    m_stopWhenStarted = false;
    m_settling = false;
    if (step == QLatin1String("Start"))
        qCWarning(lcInput).noquote() << "GNOME refused to start the remote desktop session ("
                + errorText(error)
                + "). It needs the PipeWire service: start it (\"systemctl --user start "
                  "pipewire\") and turn touchback off and on again";
    else
        qCWarning(lcInput).noquote() << "Cannot set up GNOME's remote desktop session at" << step
                                     << "(" + errorText(error) + "); touches are not posted";
    m_pending.discard("the desktop session could not be started");
    stopSession(); // after a failed Start mutter has already dropped it
    Q_EMIT failed();
}

void MutterRemoteDesktopPoster::sessionClosed()
{
    if (m_state == State::Failed)
        return; // a session that never started; the next touchback start tries again
    qCInfo(lcInput)
        << "GNOME closed the remote desktop session; it is made anew for the next touch";
    m_state = State::Idle;
    m_settling = false;
    m_sessionPath.clear();
    m_streamPath.clear();
}

std::optional<KeyEvent> MutterRemoteDesktopPoster::createKeyEvent(std::uint16_t, bool)
{
    return std::nullopt; // only the pointer is posted on Wayland desktops
}

void MutterRemoteDesktopPoster::postKeyEvent(const KeyEvent&)
{ }

void MutterRemoteDesktopPoster::postMouseEvent(const MouseEvent& event)
{
    switch (m_state) {
    case State::Running:
        return send(event);
    case State::Idle:
        createRemoteDesktopSession();
        [[fallthrough]];
    case State::Starting:
        return m_pending.push(event);
    case State::Failed:
        return; // already said why
    }
}

void MutterRemoteDesktopPoster::settled()
{
    if (!m_settling)
        return; // the session ended meanwhile
    m_settling = false;
    m_pending.replay([this](const MouseEvent& event) { send(event); });
}

void MutterRemoteDesktopPoster::send(const MouseEvent& event)
{
    if (m_settling)
        return m_pending.push(event);
    // Motions, the bulk of the traffic, go out without asking for a reply (as a plain
    // QDBusConnection::send does); buttons are rare and their answers are checked.
    auto motion = QDBusMessage::createMethodCall(kRemoteDesktop, m_sessionPath,
        kRemoteDesktopSession, QStringLiteral("NotifyPointerMotionAbsolute"));
    motion << m_streamPath << event.point.x() << event.point.y();
    m_bus.send(motion);
    if (m_firstMotion) {
        // GNOME 48 drops the first motion of the session's new virtual pointer (GNOME 43
        // delivers it), so the first touch would land where the pointer was. The same motion
        // again, once mutter has handled the first, lands on both; this touch and those after it
        // wait for it (the button too, which must not land where the pointer was).
        m_firstMotion = false;
        m_settling = true;
        m_pending.push(event);
        QTimer::singleShot(kSettleMs, this, &MutterRemoteDesktopPoster::settled);
        return;
    }
    if (event.kind == MouseEventKind::LeftDown || event.kind == MouseEventKind::LeftUp)
        callSession(QStringLiteral("NotifyPointerButton"),
            {kLeftButton, event.kind == MouseEventKind::LeftDown});
}

void MutterRemoteDesktopPoster::callSession(const QString& method, const QList<QVariant>& arguments)
{
    auto message = QDBusMessage::createMethodCall(
        kRemoteDesktop, m_sessionPath, kRemoteDesktopSession, method);
    message.setArguments(arguments);
    DBusCalls::call(m_bus, message, this, [this, method](const QDBusMessage& reply) {
        if (!DBusCalls::failed(reply) || m_callErrorReported)
            return;
        m_callErrorReported = true;
        qCWarning(lcInput).noquote() << "GNOME rejected" << method << "(" + errorText(reply) + ")";
    });
}
