// The RemoteDesktop portal on GNOME asks with a dialog. The poster waits for the user's answer
// without blocking; "Share" without "Allow remote interaction" (no pointer granted) and a
// refusal are each logged once, nothing is posted, and nothing hangs. Runs inside
// tests/support/with-mutter --portal; the dialog is answered through mutter's own remote
// desktop session (our GNOME poster), at its place on a 1440x900 monitor. Whether the dialog
// is up is seen from outside: it covers the full-screen observer window under the pointer,
// which then gets a pointer "leave".
#include "LogCapture.h"
#include "PointerObserver.h"

#include "platform/wayland/MutterRemoteDesktopPoster.h"
#include "platform/wayland/PortalRemoteDesktopPoster.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

namespace {
const QPointF kShare(932, 322);
const QPointF kCancel(508, 322); // the header's other end, mirrored about the centre

qsizetype count(const QList<PointerObserver::Event>& events, const char* kind, qsizetype from = 0)
{
    qsizetype n = 0;
    for (qsizetype i = from; i < events.size(); ++i)
        n += events[i].kind == QLatin1String(kind);
    return n;
}
} // namespace

class TestPortalDialogGnome : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("wayland"));
        QVERIFY2(m_observer.start(), qPrintable(m_observer.log()));
        QSignalSpy started(&m_driver, &MutterRemoteDesktopPoster::started);
        m_driver.prepare();
        QVERIFY(started.wait(10000));
    }

    void shareWithoutRemoteInteractionPostsNothing()
    {
        LogCapture log;
        PortalRemoteDesktopPoster portal;
        QSignalSpy failed(&portal, &PortalRemoteDesktopPoster::failed);
        QSignalSpy started(&portal, &PortalRemoteDesktopPoster::started);
        portal.prepare();
        // A touch while the dialog is open waits; it must not land after the refusal.
        portal.postMouseEvent({MouseEventKind::LeftDown, QPointF(100, 100), 0});
        QVERIFY2(waitForDialogAt(kShare), qPrintable(m_observer.log()));
        click(kShare);
        QVERIFY(failed.wait(10000) || failed.size() == 1);
        QCOMPARE(started.size(), 0);
        const QStringList lines = log.messages("orventa.input");
        QCOMPARE(lines.filter(QStringLiteral("without remote interaction")).size(), 1);

        const qsizetype before = m_observer.events().size();
        portal.postMouseEvent({MouseEventKind::LeftDown, QPointF(200, 200), 0});
        portal.postMouseEvent({MouseEventKind::LeftUp, QPointF(200, 200), 0});
        QTest::qWait(500);
        QCOMPARE(count(m_observer.events(), "pressed", before), 0);
        QCOMPARE(
            log.messages("orventa.input").filter(QStringLiteral("cannot be posted")).size(), 1);
    }

    void refusalIsLoggedOnce()
    {
        LogCapture log;
        PortalRemoteDesktopPoster portal;
        QSignalSpy failed(&portal, &PortalRemoteDesktopPoster::failed);
        portal.prepare();
        QVERIFY2(waitForDialogAt(kCancel), qPrintable(m_observer.log()));
        click(kCancel);
        QVERIFY(failed.wait(10000) || failed.size() == 1);
        QCOMPARE(log.messages("orventa.input").filter(QStringLiteral("did not allow")).size(), 1);
        QTest::qWait(300); // the portal closes the session: no second warning for that
        QCOMPARE(
            log.messages("orventa.input").filter(QStringLiteral("cannot be posted")).size(), 1);
        QCOMPARE(
            log.messages("orventa.input").filter(QStringLiteral("ended the remote")).size(), 0);
        portal.prepare(); // touchback on again: not asked again in this run
        QTest::qWait(500);
        QCOMPARE(
            log.messages("orventa.input").filter(QStringLiteral("Asking the desktop")).size(), 1);
    }

private:
    void move(QPointF at) { m_driver.postMouseEvent({MouseEventKind::LeftDragged, at, 0}); }

    void click(QPointF at)
    {
        m_driver.postMouseEvent({MouseEventKind::LeftDown, at, 0});
        QTest::qWait(50);
        m_driver.postMouseEvent({MouseEventKind::LeftUp, at, 0});
    }

    // Keeps the pointer moving at a spot until the observer loses it to a window above.
    bool waitForDialogAt(QPointF at)
    {
        const qsizetype from = m_observer.events().size();
        return QTest::qWaitFor(
            [&] {
                static int step = 0;
                move(at + QPointF((++step % 2), 0));
                QTest::qWait(100);
                return count(m_observer.events(), "leave", from) > 0;
            },
            20000);
    }

    PointerObserver m_observer;
    MutterRemoteDesktopPoster m_driver;
};

QTEST_MAIN(TestPortalDialogGnome)
#include "tst_portal_dialog_gnome.moc"
