#pragma once

#include "platform/MouseEventPoster.h"
#include "platform/PointerEventQueue.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QSize>
#include <QString>
#include <QVariantMap>

#include <functional>

// Posts the pointer through the RemoteDesktop portal (xdg-desktop-portal, with its ScreenCast
// for the one monitor the pointer moves on). The session is asked for at prepare() (touchback
// opens its touch socket). When the portal gave a restore token it is closed at finish() (the
// socket closes) and comes back at the next prepare() without a question; without one, a new
// session would ask the user again, so it is kept until the application quits. The user is
// asked at most once per application run (the token is kept in memory only). The pointer must be
// among the granted devices: a refusal, or sharing the screen without remote interaction, is logged
// once and from then on nothing is posted. Touches posted while the user decides wait (see
// PointerEventQueue). Points map linearly from the main screen onto the shared stream.
class PortalRemoteDesktopPoster final : public QObject, public MouseEventPoster
{
    Q_OBJECT
public:
    explicit PortalRemoteDesktopPoster(QObject* parent = nullptr);
    ~PortalRemoteDesktopPoster() override;

    void prepare() override;
    void finish() override;
    std::optional<KeyEvent> createKeyEvent(std::uint16_t keyCode, bool down) override;
    void postMouseEvent(const MouseEvent& event) override;
    void postKeyEvent(const KeyEvent& event) override;

Q_SIGNALS:
    // The session runs with the pointer granted.
    void started();
    // The session was refused, granted without the pointer, or could not be set up (logged).
    void failed();

private Q_SLOTS:
    void sessionClosed();

private:
    enum class State { Idle, Starting, Running, Failed, Refused };

    void createSession();
    void selectDevices();
    void selectSources();
    void startSession();
    void sessionStarted(const QVariantMap& results);
    void giveUp(State state, const QString& why);
    void send(const MouseEvent& event);
    void callSession(
        const QString& method, const QList<QVariant>& arguments, std::function<void()> then);
    void sendNext();
    void sent();
    QPointF toStream(QPointF point) const;

    QDBusConnection m_bus;
    State m_state = State::Idle;
    QString m_sessionPath;
    QString m_restoreToken; // memory only: the application keeps nothing on disk
    uint m_node = 0;
    QSize m_streamSize;
    PointerEventQueue m_pending;
    bool m_callErrorReported = false;
    PointerEventQueue m_outgoing; // touches not sent yet, while a call is on its way
    bool m_inFlight = false;
};
