// GNOME shows that the screen is shared for as long as a remote desktop session lives, so the
// application's session lives exactly as long as touchback's touch socket: made when touchback
// opens it (prepare), ended when it closes (finish), made anew at the next start. Counted from
// outside, on mutter's bus. Run inside tests/support/with-mutter.
#include "LogCapture.h"
#include "PointerObserver.h"

#include "app/Backends.h"
#include "app/DesktopEventPoster.h"
#include "input/MouseSimulate.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

namespace {
// The remote desktop sessions mutter has, as children of its Session node.
int remoteDesktopSessions()
{
    const auto message
        = QDBusMessage::createMethodCall(QStringLiteral("org.gnome.Mutter.RemoteDesktop"),
            QStringLiteral("/org/gnome/Mutter/RemoteDesktop/Session"),
            QStringLiteral("org.freedesktop.DBus.Introspectable"), QStringLiteral("Introspect"));
    const QDBusMessage reply = QDBusConnection::sessionBus().call(message, QDBus::Block, 5000);
    if (reply.type() != QDBusMessage::ReplyMessage)
        return 0; // no node: no session
    static const QRegularExpression child(QStringLiteral("<node name=\"[^\"]+\""));
    return int(reply.arguments().value(0).toString().count(child));
}
} // namespace

class TestPostingSessionLifetime : public QObject
{
    Q_OBJECT
private slots:
    void sessionLivesWithTheTouchSocket()
    {
        PointerObserver observer;
        QVERIFY2(observer.start(), qPrintable(observer.log()));
        QTest::qWait(600); // mutter scales the new window in (see tst_wayland_posting)
        QCOMPARE(remoteDesktopSessions(), 0);

        LogCapture log;
        Backends::installEventPoster();
        MouseSimulate simulate;
        simulate.prepare(); // touchback opened its touch socket
        QVERIFY2(QTest::qWaitFor([] { return remoteDesktopSessions() == 1; }, 15000),
            qPrintable(log.entries().join(u'\n')));
        auto* poster = dynamic_cast<DesktopEventPoster*>(MouseEventPoster::defaultPoster());
        QVERIFY(poster && poster->backend());

        simulate.finish(); // the cast button stopped touchback: the socket closed
        QVERIFY2(QTest::qWaitFor([] { return remoteDesktopSessions() == 0; }, 10000),
            qPrintable(log.entries().join(u'\n')));
        simulate.finish(); // closing twice changes nothing
        QCOMPARE(remoteDesktopSessions(), 0);

        // The next start makes a new session; a touch made at once waits for it and arrives.
        simulate.prepare();
        simulate.initiateMouseEvent(u"MOVE", u"16383.5", u"16383.5", 0);
        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         const QList<PointerObserver::Event> events = observer.events();
                         return !events.isEmpty() && std::abs(events.last().at.x() - 720.0) <= 1.0
                             && std::abs(events.last().at.y() - 450.0) <= 1.0;
                     },
                     15000),
            qPrintable(observer.log() + log.entries().join(u'\n')));
        QCOMPARE(remoteDesktopSessions(), 1);
        // Starting again while it runs (the switch turned on again) keeps that one session.
        simulate.prepare();
        QTest::qWait(300);
        QCOMPARE(remoteDesktopSessions(), 1);
    }
};

QTEST_MAIN(TestPostingSessionLifetime)
#include "tst_posting_session_lifetime.moc"
