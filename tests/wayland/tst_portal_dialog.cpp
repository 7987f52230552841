// The RemoteDesktop portal asks with a dialog (GNOME always, KDE Plasma 6 unless the application
// is authorised). The poster waits for the user's answer without blocking; the dialog is answered
// from outside through the accessibility tree (tests/wayland/portal_dialog.py). On GNOME, "Share"
// without "Allow remote interaction" (no pointer granted) and a refusal are each logged once,
// nothing is posted, and nothing hangs; on KDE "Share" grants the pointer and a refusal is
// handled as on GNOME. Runs inside tests/support/with-mutter --portal or with-kwin --ask.
#include "LogCapture.h"
#include "PointerObserver.h"

#include "platform/wayland/PortalRemoteDesktopPoster.h"

#include <QGuiApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

namespace {
qsizetype count(const QList<PointerObserver::Event>& events, const char* kind, qsizetype from = 0)
{
    qsizetype n = 0;
    for (qsizetype i = from; i < events.size(); ++i)
        n += events[i].kind == QLatin1String(kind);
    return n;
}

bool onGnome()
{
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").contains(QLatin1String("GNOME"));
}
} // namespace

class TestPortalDialog : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("wayland"));
        if (!onGnome() && qEnvironmentVariableIntValue("ORVENTA_KWIN_VERSION") < 6)
            QSKIP("KDE Plasma 5 grants the portal without a dialog (tst_wayland_posting_kde)");
        QVERIFY2(m_observer.start(), qPrintable(m_observer.log()));
    }

    void shareWithoutRemoteInteractionPostsNothing()
    {
        if (!onGnome())
            QSKIP("only GNOME's dialog lets the user share the screen without the pointer");
        LogCapture log;
        PortalRemoteDesktopPoster portal;
        QSignalSpy failed(&portal, &PortalRemoteDesktopPoster::failed);
        QSignalSpy started(&portal, &PortalRemoteDesktopPoster::started);
        portal.prepare();
        // A touch while the dialog is open waits; it must not land after the refusal.
        portal.postMouseEvent({MouseEventKind::LeftDown, QPointF(100, 100), 0});
        QVERIFY(answerDialog({QStringLiteral("Share"), QStringLiteral("--switch-off"),
            QStringLiteral("Allow remote interaction")}));
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

    void shareGrantsThePointer()
    {
        if (onGnome())
            QSKIP("GNOME's dialog is covered by shareWithoutRemoteInteractionPostsNothing");
        LogCapture log;
        PortalRemoteDesktopPoster portal;
        QSignalSpy started(&portal, &PortalRemoteDesktopPoster::started);
        portal.prepare();
        // Made while the dialog is open: it waits and lands once the user has answered.
        const qsizetype before = m_observer.events().size();
        portal.postMouseEvent({MouseEventKind::LeftDown, QPointF(300, 200), 0});
        portal.postMouseEvent({MouseEventKind::LeftUp, QPointF(300, 200), 0});
        QVERIFY(answerDialog({QStringLiteral("Share")}));
        QVERIFY(started.wait(10000) || started.size() == 1);
        QVERIFY2(QTest::qWaitFor(
                     [&] { return count(m_observer.events(), "released", before) == 1; }, 10000),
            qPrintable(m_observer.log() + log.entries().join(u'\n')));
        const QList<PointerObserver::Event> buttons = m_observer.buttons();
        QCOMPARE(buttons.last().at, QPointF(300, 200));
        QCOMPARE(
            log.messages("orventa.input").filter(QStringLiteral("Asking the desktop")).size(), 1);
    }

    void refusalIsLoggedOnce()
    {
        LogCapture log;
        PortalRemoteDesktopPoster portal;
        QSignalSpy failed(&portal, &PortalRemoteDesktopPoster::failed);
        portal.prepare();
        QVERIFY(answerDialog({QStringLiteral("Cancel")}));
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
    // Waits for the portal's dialog and answers it through the accessibility tree.
    bool answerDialog(const QStringList& arguments)
    {
        QProcess answer;
        answer.setProcessChannelMode(QProcess::ForwardedChannels);
        answer.start(QStringLiteral("/usr/bin/python3"),
            QStringList {QStringLiteral(PORTAL_DIALOG_SCRIPT)} + arguments);
        // The event loop runs meanwhile: the poster receives the portal's answer.
        const bool ended
            = QTest::qWaitFor([&] { return answer.state() == QProcess::NotRunning; }, 60000);
        if (!ended)
            answer.kill();
        return ended && answer.exitStatus() == QProcess::NormalExit && answer.exitCode() == 0;
    }

    PointerObserver m_observer;
};

QTEST_MAIN(TestPortalDialog)
#include "tst_portal_dialog.moc"
