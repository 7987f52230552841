// Heartbeat supervision against the receiver simulator on real sockets: the 4 s timer, the
// failure count that successes never lower, the three ways the session ends, and the pause
// while a modal alert is open.
#include "SessionFixture.h"

#include "DrainMainQueue.h"
#include "HelperProcess.h"
#include "RepliesInFlight.h"

#include "platform/Alerts.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QTimer>
#include <QUdpSocket>

using namespace session_test;
using namespace std::chrono_literals;

namespace {
const AlertRecorder::Alert kNetworkError {QStringLiteral("Network error"),
    QStringLiteral("Touchback is disabled. Please check your network connection and then retry.")};
const AlertRecorder::Alert kDeviceBusy {
    QStringLiteral("Device busy"), QStringLiteral("Device is currently busy. Please try again.")};
// Long enough that no tick of the timer falls into a test that ticks by hand.
constexpr auto kNoAutomaticTicks = 3600s;
} // namespace

class TestSessionHeartbeat : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimProcess> m_sim;
    std::unique_ptr<AlertRecorder> m_alerts;
    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<StdoutCapture> m_stdout;
    std::unique_ptr<DashboardViewController> m_dashboard;

    DashboardViewController& d() { return *m_dashboard; }
    int pings() const
    {
        return int(requestsTo(*m_sim, QStringLiteral("/pingServerWithIP")).size());
    }
    int answers() const { return countStartingWith(m_stdout->lines(), "statusCode: "); }

    // One tick by hand; returns when the receiver's answer has been handled.
    void tick()
    {
        const int before = answers();
        d().inititateServerPing(d().pingTimer());
        QTRY_COMPARE(answers(), before + 1);
        QCoreApplication::processEvents(); // the outcome's main-queue step
    }
    void startSwitchTouchback(const QString& receiver = kReceiverIp)
    {
        d().didPickCastingDeviceWithIP(receiver, kReceiverHex, kReceiverName);
        toggleSwitch(d(), true);
        QVERIFY(d().pingTimer());
    }
    void verifyBackToPaired()
    {
        QVERIFY(!d().pingTimer());
        QCOMPARE(d().serverPingFailedCount(), 0);
        QVERIFY(!d().wirelessTouchSwitch()->checked());
        QVERIFY(!d().hdmiToggleView()->isHidden());
        QVERIFY(!d().castButtonView()->isHidden());
        QVERIFY(d().hdmiMessageView()->isHidden());
        QCOMPARE(d().sendUdpSocket()->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(d().selectedDeviceIPAddress(), std::optional<QString>(kReceiverIp));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(insideTestNamespace(), "run through tests/support/with-netns-route");
        setUpApplication();
        m_sim = std::make_unique<SimProcess>(kReceiverIp);
        QVERIFY(m_sim->isReady());
    }
    void init()
    {
        QCOMPARE(m_sim->command("reset").left(2), QByteArray("ok"));
        DashboardViewController::setPingIntervalForTesting(kNoAutomaticTicks);
        m_alerts = std::make_unique<AlertRecorder>();
        m_log = std::make_unique<LogCapture>();
        m_stdout = std::make_unique<StdoutCapture>();
        m_dashboard = makeDashboard();
    }
    void cleanup()
    {
        m_dashboard.reset();
        // A reply still on its way would be counted by the next test (the answers are counted
        // by their printed lines); aborted, it ends here as a transport failure that prints
        // nothing. On a slow machine (sanitizers) the last automatic ticks are often in flight.
        for (ReceiverReply* reply : ReceiverSession::shared()->findChildren<ReceiverReply*>())
            reply->abort();
        DashboardViewController::setPingIntervalForTesting(0ms);
        m_stdout.reset();
        m_log.reset();
        m_alerts.reset();
    }

    void timerRepeatsEveryFourSecondsFirstTickAfterFour()
    {
        DashboardViewController::setPingIntervalForTesting(0ms);
        QCOMPARE(DashboardViewController::pingInterval(), 4000ms);
        startSwitchTouchback();
        QTimer* timer = d().pingTimer();
        QCOMPARE(timer->intervalAsDuration(), 4000ms);
        QVERIFY(!timer->isSingleShot());
        QVERIFY(timer->isActive());
        QVERIFY(timer->remainingTime() > 3800);
        QCOMPARE(countLines(*m_log, QStringLiteral("Starting server ping...")), 1);
        QCOMPARE(countLines(*m_log, QStringLiteral("Pinging...")), 0);
    }

    void ticksPingWithThisComputersAddress()
    {
        DashboardViewController::setPingIntervalForTesting(100ms);
        startSwitchTouchback();
        QTRY_VERIFY(pings() >= 3);
        for (const QJsonObject& ping : requestsTo(*m_sim, QStringLiteral("/pingServerWithIP")))
            QCOMPARE(ping.value(QStringLiteral("target")).toString(),
                QStringLiteral("/pingServerWithIP?ip=%1&msg=ping").arg(kLocalIp));
        QVERIFY(countLines(*m_log, QStringLiteral("Pinging...")) >= 3);
        QVERIFY(m_alerts->alerts().isEmpty());
    }

    void failSucceedFailEndsTheSession()
    {
        startSwitchTouchback();
        m_sim->command("answer /pingServerWithIP 500");
        tick();
        QCOMPARE(d().serverPingFailedCount(), 1);
        QCOMPARE(countLines(*m_log, QStringLiteral("Ping failed")), 1);
        QVERIFY(d().pingTimer());

        m_sim->command("reset");
        tick();
        QCOMPARE(d().serverPingFailedCount(), 1); // a success does not lower it

        m_sim->command("answer /pingServerWithIP 500");
        tick();
        QTRY_COMPARE(m_alerts->alerts(), QList<AlertRecorder::Alert> {kNetworkError});
        verifyBackToPaired();
        QCOMPARE(countLines(*m_log, QStringLiteral("Stopping server ping...")), 1);

        // Starting again begins with a count of 0: one failure is only logged.
        toggleSwitch(d(), true);
        QCOMPARE(d().serverPingFailedCount(), 0);
        tick();
        QCOMPARE(d().serverPingFailedCount(), 1);
        QCOMPARE(m_alerts->alerts().size(), 1);
        QVERIFY(d().pingTimer());
    }

    void exhaustedTicksSendNothing()
    {
        startSwitchTouchback();
        d().setServerPingFailedCount(2);
        const qsizetype before = repliesInFlight();
        d().inititateServerPing(d().pingTimer());
        QCOMPARE(countLines(*m_log, QStringLiteral("Pinging...")), 1);
        QCOMPARE(repliesInFlight(), before); // no request went out
    }

    void failurePastTheLimitOnlyCounts()
    {
        // A failure from a request already in flight when the count reached 2 raises the count
        // further but ends nothing and shows no second alert.
        startSwitchTouchback();
        m_sim->command("answer /pingServerWithIP 500");
        d().setServerPingFailedCount(1);
        const int before = answers();
        d().inititateServerPing(d().pingTimer()); // goes out at count 1
        d().setServerPingFailedCount(2); // another failure came first
        QTRY_COMPARE(answers(), before + 1);
        QCOMPARE(d().serverPingFailedCount(), 3);
        QCoreApplication::processEvents();
        QVERIFY(m_alerts->alerts().isEmpty());
        QVERIFY(d().pingTimer());
        QVERIFY(d().wirelessTouchSwitch()->checked());
    }

    void lowerCaseCastOffIsAnOrdinaryReply()
    {
        startSwitchTouchback();
        m_sim->command("answer /pingServerWithIP 200 cast_off");
        tick();
        QVERIFY(drainMainQueue()); // a teardown would have run by now
        QVERIFY(d().pingTimer());
        QVERIFY(d().wirelessTouchSwitch()->checked());
        QVERIFY(m_alerts->alerts().isEmpty());
    }

    void castOffEndsTheSessionWithoutAlert()
    {
        startSwitchTouchback();
        m_sim->command("cast-off");
        tick();
        QTRY_VERIFY(!d().pingTimer());
        verifyBackToPaired();
        QVERIFY(m_alerts->alerts().isEmpty());
    }

    void failureAfterTwelveSecondsCounts()
    {
        // The only time limit is 60 s of inactivity: a slow receiver's 500 is a failure.
        startSwitchTouchback();
        m_sim->command("answer /pingServerWithIP 500");
        m_sim->command("delay /pingServerWithIP 12000");
        const int before = answers();
        QElapsedTimer clock;
        clock.start();
        d().inititateServerPing(d().pingTimer());
        QTRY_COMPARE_WITH_TIMEOUT(answers(), before + 1, 30000);
        QVERIFY(clock.elapsed() >= 11900);
        QTRY_COMPARE(d().serverPingFailedCount(), 1);
        QVERIFY(d().pingTimer());
    }

    void castOffAfterTwelveSecondsEndsTheSession()
    {
        startSwitchTouchback();
        m_sim->command("cast-off");
        m_sim->command("delay /pingServerWithIP 12000");
        const int before = answers();
        d().inititateServerPing(d().pingTimer());
        QTRY_COMPARE_WITH_TIMEOUT(answers(), before + 1, 30000);
        QTRY_VERIFY(!d().pingTimer());
        verifyBackToPaired();
        QVERIFY(m_alerts->alerts().isEmpty());
    }

    void deviceBusyEndsTheSessionWithAlert()
    {
        startSwitchTouchback();
        m_sim->command("busy");
        tick();
        QTRY_COMPARE(m_alerts->alerts(), QList<AlertRecorder::Alert> {kDeviceBusy});
        verifyBackToPaired();
    }

    void refusedConnectionNeverCounts()
    {
        DashboardViewController::setPingIntervalForTesting(50ms);
        startSwitchTouchback(QStringLiteral("127.0.0.2")); // nothing listens there
        QTRY_VERIFY(countLines(*m_log, QStringLiteral("Pinging...")) >= 4);
        QCOMPARE(d().serverPingFailedCount(), 0);
        QCOMPARE(countLines(*m_log, QStringLiteral("Ping failed")), 0);
        QCOMPARE(answers(), 0);
        QVERIFY(m_alerts->alerts().isEmpty());
        QVERIFY(d().pingTimer());
    }

    void secondStartKeepsTimerAndCount()
    {
        startSwitchTouchback();
        QTimer* timer = d().pingTimer();
        d().setServerPingFailedCount(1);
        d().startServerPing();
        QCOMPARE(d().pingTimer(), timer);
        QCOMPARE(d().serverPingFailedCount(), 1);
        QCOMPARE(countLines(*m_log, QStringLiteral("Starting server ping...")), 1);
        d().stopServerPing();
        d().stopServerPing();
        QCOMPARE(countLines(*m_log, QStringLiteral("Stopping server ping...")), 1);
        QCOMPARE(d().serverPingFailedCount(), 0);
    }

    void modalAlertPausesTheHeartbeat()
    {
        DashboardViewController::setPingIntervalForTesting(50ms);
        startSwitchTouchback();
        QTRY_VERIFY(pings() >= 2);
        int ticksWhileOpen = -1;
        m_alerts->whileOpen = [&] {
            const int before = countLines(*m_log, QStringLiteral("Pinging..."));
            QTest::qWait(500); // ten intervals
            ticksWhileOpen = countLines(*m_log, QStringLiteral("Pinging...")) - before;
        };
        Alerts::run(QStringLiteral("Something"), QStringLiteral("else"));
        QCOMPARE(ticksWhileOpen, 0);
        // Ticking resumes on the old phase; the ten missed ticks are not made up: soon after the
        // alert closes there are no more ticks than the time since allows.
        const int afterClose = countLines(*m_log, QStringLiteral("Pinging..."));
        QElapsedTimer clock;
        clock.start();
        QTest::qWait(120);
        const int early = countLines(*m_log, QStringLiteral("Pinging...")) - afterClose;
        const qint64 allowed = clock.elapsed() / 50 + 1;
        QVERIFY2(early <= allowed, qPrintable(QStringLiteral("%1 ticks").arg(early)));
        QTRY_VERIFY(countLines(*m_log, QStringLiteral("Pinging...")) > afterClose);
    }

    void secondPickSendsTheNextPingToTheNewReceiver()
    {
        SimProcess other(QStringLiteral("127.0.0.2"));
        QVERIFY(other.isReady());
        startSwitchTouchback();
        QTimer* timer = d().pingTimer();
        const int before = pings();
        tick();
        QCOMPARE(pings(), before + 1);
        d().didPickCastingDeviceWithIP(
            QStringLiteral("127.0.0.2"), QStringLiteral("7f000002"), QStringLiteral("Lab"));
        QCOMPARE(d().pingTimer(), timer); // the session goes on
        d().inititateServerPing(timer);
        QVERIFY(other.waitForRequests(1));
        QCOMPARE(requestsTo(other, QStringLiteral("/pingServerWithIP")).size(), 1);
        QCOMPARE(pings(), before + 1);
    }

    void missingLocalAddressCountsAsAFailure()
    {
        startSwitchTouchback();
        QVERIFY(ipCommand(QStringLiteral("route del default")));
        const auto restore = qScopeGuard(
            [] { ipCommand(QStringLiteral("route add default via 10.99.0.1 dev d0")); });
        // The ping answers at once, without a request, and that answer is a failure.
        const int before = pings();
        d().inititateServerPing(d().pingTimer());
        QCOMPARE(d().serverPingFailedCount(), 1);
        d().inititateServerPing(d().pingTimer());
        QTRY_COMPARE(m_alerts->alerts(), QList<AlertRecorder::Alert> {kNetworkError});
        verifyBackToPaired();
        QCOMPARE(pings(), before);
    }

    void disconnectDuringSwitchTouchbackKeepsTicking()
    {
        startSwitchTouchback();
        QTimer* timer = d().pingTimer();
        d().deviceDisconnecetd();
        QCOMPARE(d().pingTimer(), timer);
        QCOMPARE(d().sendUdpSocket()->state(), QAbstractSocket::BoundState);
        QVERIFY(!d().selectedDeviceIPAddress());
    }

    void nextTickWithoutReceiverIsFatal()
    {
        // The next tick asks for a ping with no receiver address while this computer has one.
        const HelperResult result = runHelper(
            QStringLiteral(SESSION_HELPER), {QStringLiteral("disconnect-during-switch")});
        QVERIFY2(result.crashed(), result.standardError.constData());
        QVERIFY(result.standardError.contains("Pinging..."));
        QVERIFY(result.standardError.contains("Fatal error:"));
    }
};

QTEST_MAIN(TestSessionHeartbeat)
#include "tst_session_heartbeat.moc"
