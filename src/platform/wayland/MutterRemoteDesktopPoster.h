#pragma once

#include "platform/MouseEventPoster.h"
#include "platform/PointerEventQueue.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>

class QDBusMessage;

// Posts the pointer through GNOME's own remote desktop service (mutter, on the session bus):
// a RemoteDesktop session linked to a ScreenCast session that records the monitor holding the
// application's window. The session lives from prepare() (touchback opens its touch socket) to
// finish() (the socket closes), since GNOME shows its screen-sharing indicator for as long as
// it lives; when mutter closes it, the next prepare() or touch makes it anew.
// Points are the monitor's logical pixels, as mutter wants them for that stream. GNOME asks
// for no consent; it needs a running PipeWire. Touches posted while the session starts are
// replayed when it is ready (see PointerEventQueue). Key events are not posted.
class MutterRemoteDesktopPoster final : public QObject, public MouseEventPoster
{
    Q_OBJECT
public:
    explicit MutterRemoteDesktopPoster(QObject* parent = nullptr);
    ~MutterRemoteDesktopPoster() override;

    void prepare() override;
    void finish() override;
    std::optional<KeyEvent> createKeyEvent(std::uint16_t keyCode, bool down) override;
    void postMouseEvent(const MouseEvent& event) override;
    void postKeyEvent(const KeyEvent& event) override;

    bool isRunning() const { return m_state == State::Running; }

Q_SIGNALS:
    // The session runs: touches now reach the desktop.
    void started();
    // Setting the session up failed; the reason was logged.
    void failed();

private Q_SLOTS:
    void sessionClosed();

private:
    enum class State { Idle, Starting, Running, Failed };

    void createRemoteDesktopSession();
    void readSessionId();
    void createScreenCastSession(const QString& sessionId);
    void recordMonitor(const QString& connector);
    void startSession();
    void fail(const QString& step, const QDBusMessage& error);
    void stopSession();
    void send(const MouseEvent& event);
    void settled();
    void callSession(const QString& method, const QList<QVariant>& arguments);

    QDBusConnection m_bus;
    State m_state = State::Idle;
    QString m_sessionPath;
    QString m_screenCastPath;
    QString m_streamPath;
    PointerEventQueue m_pending;
    bool m_callErrorReported = false;
    bool m_stopWhenStarted = false; // touchback stopped while the session was starting
    bool m_firstMotion = true; // the session's first motion, which goes out twice
    bool m_settling = false; // between the two: events wait in m_pending
};
