#pragma once

#include "PendingPointerEvents.h"
#include "platform/MouseEventPoster.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QSize>
#include <QString>
#include <QVariantMap>

#include <deque>

// Posts the pointer through the RemoteDesktop portal (xdg-desktop-portal, with its ScreenCast
// for the one monitor the pointer moves on). The session is asked for at the first prepare()
// and kept for the application's lifetime; the user is asked at most once per application run
// (the restore token, when the portal gives one, is kept in memory only so that a session the
// desktop closes comes back without a new question). The pointer must be among the granted
// devices: a refusal, or sharing the screen without remote interaction, is logged once and
// from then on nothing is posted. Touches posted while the user decides wait (see
// PendingPointerEvents). Points map linearly from the main screen onto the shared stream.
class PortalRemoteDesktopPoster final : public QObject, public MouseEventPoster
{
    Q_OBJECT
public:
    explicit PortalRemoteDesktopPoster(QObject* parent = nullptr);
    ~PortalRemoteDesktopPoster() override;

    void prepare() override;
    std::optional<KeyEvent> createKeyEvent(std::uint16_t keyCode, bool down) override;
    void postMouseEvent(const MouseEvent& event) override;
    void postKeyEvent(const KeyEvent& event) override;
    std::optional<QSizeF> mainScreenSize() override;

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
    void callSession(const QString& method, const QList<QVariant>& arguments);
    void sendNext();
    QPointF toStream(QPointF point) const;

    QDBusConnection m_bus;
    State m_state = State::Idle;
    QString m_sessionPath;
    QString m_restoreToken; // memory only: the application keeps nothing on disk
    uint m_node = 0;
    QSize m_streamSize;
    PendingPointerEvents m_pending;
    bool m_callErrorReported = false;
    std::deque<QDBusMessage> m_outgoing; // pointer calls not sent yet, in order
    bool m_inFlight = false;
    bool m_outgoingOverflowReported = false;
};
