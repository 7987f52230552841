// The touchback session on real sockets: datagrams from the receiver simulator (and from other
// local addresses) on port 41863 reach the mouse synthesiser, recorded by a recording poster.
#include "SessionFixture.h"

#include "RecordingEventPoster.h"

#include "input/MouseSimulate.h"
#include "platform/Alerts.h"
#include "receiver/HDMITouchBack.h"

#include "app/ZentrixSettingsViewController.h"

#include <QComboBox>

#include <QPointer>
#include <QUdpSocket>

using namespace session_test;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {
const AlertRecorder::Alert kEnabled {QStringLiteral("Touchback is enabled now."),
    QStringLiteral("To mirror the screen, please go to the AirPlay option on the top menu bar and "
                   "select the required AirPlay display device.\n\nNOTE: Make sure the screen "
                   "calibration is done and your mac and device are on the same network.")};
const AlertRecorder::Alert kDisabled {QStringLiteral("Touchback is disabled now."),
    QStringLiteral("If screen mirroring is ON and you don't need it anymore, please go to the "
                   "AirPlay option on the top menu bar and select 'Stop AirPlay'.")};

QPointF screenPoint(double x, double y)
{
    return {x / 32767.0 * 1440.0, 900.0 * (y / 32767.0)};
}
} // namespace

class TestSessionTouchback : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimProcess> m_sim;
    RecordingEventPoster m_poster;
    std::unique_ptr<AlertRecorder> m_alerts;
    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<DashboardViewController> m_dashboard;

    DashboardViewController& d() { return *m_dashboard; }
    int enableRequests() const
    {
        return int(requestsTo(*m_sim, QStringLiteral("/enableWifiTouchback")).size());
    }
    // Whether an enable request with this query arrived after the first `since` ones (requests
    // of earlier tests may still arrive in between).
    bool enableSent(int since, const QString& query) const
    {
        const QList<QJsonObject> requests
            = requestsTo(*m_sim, QStringLiteral("/enableWifiTouchback"));
        const QString target = QStringLiteral("/enableWifiTouchback?") + query;
        return std::any_of(requests.begin() + std::min<qsizetype>(since, requests.size()),
            requests.end(), [&](const QJsonObject& request) {
                return request.value(QStringLiteral("target")).toString() == target;
            });
    }
    int dropped() const
    {
        int count = 0;
        for (const QString& line : m_log->messages("orventa.dashboard"))
            count += line.startsWith(QStringLiteral("Dropped a touch datagram"));
        return count;
    }
    // Pairs, turns the switch on and waits until the simulator knows where to send touches.
    void startSwitchTouchback()
    {
        d().didPickCastingDeviceWithIP(kReceiverIp, kReceiverHex, kReceiverName);
        const int before = enableRequests();
        toggleSwitch(d(), true);
        QTRY_VERIFY(enableSent(
            before, QStringLiteral("ip=%1&enable=true&hidemenu=false&isHDMI=true").arg(kLocalIp)));
        QCOMPARE(d().sendUdpSocket()->state(), QAbstractSocket::BoundState);
    }
    static void sendFrom(const QString& source, const QByteArray& payload)
    {
        QUdpSocket sender;
        QVERIFY(sender.bind(QHostAddress(source), 0));
        QCOMPARE(sender.writeDatagram(
                     payload, QHostAddress(kReceiverIp), DashboardViewController::kTouchPort),
            payload.size());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(insideTestNamespace(), "run through tests/support/with-netns-route");
        setUpApplication();
        MouseEventPoster::setDefault(&m_poster);
        m_sim = std::make_unique<SimProcess>(kReceiverIp);
        QVERIFY(m_sim->isReady());
    }
    void cleanupTestCase() { MouseEventPoster::setDefault(nullptr); }
    void init()
    {
        m_poster.clear();
        m_alerts = std::make_unique<AlertRecorder>();
        m_log = std::make_unique<LogCapture>();
        m_dashboard = makeDashboard();
    }
    void cleanup()
    {
        m_dashboard.reset();
        m_log.reset();
        m_alerts.reset();
    }

    void touchPortIs41863()
    {
        QCOMPARE(DashboardViewController::kTouchPort, quint16(41863));
        startSwitchTouchback();
        QCOMPARE(d().sendUdpSocket()->localPort(), quint16(41863));
        QCOMPARE(d().sendUdpSocket()->localAddress(), QHostAddress(QHostAddress::AnyIPv4));
        QCOMPARE(m_log->messages("orventa.dashboard").count(QStringLiteral("Socket Ready")), 1);
        QVERIFY(d().isTouchBackEnabled());
        // Starting touchback readies the poster (a desktop session, its permission) at once.
        QCOMPARE(m_poster.preparations(), 1);
    }

    void onlyTheFirstRecordIsUsed()
    {
        startSwitchTouchback();
        QVERIFY(!d().mouseSimulator());
        QVERIFY(m_sim->command("raw DOWN,100,200,5000;MOVE,110,210,5010").startsWith("sent"));
        QTRY_COMPARE(m_poster.mouseEvents().size(), 1);
        const MouseEvent down = m_poster.mouseEvents().constFirst();
        QCOMPARE(down.kind, MouseEventKind::LeftDown);
        QCOMPARE(down.point, screenPoint(100, 200));
        MouseSimulate* simulator = d().mouseSimulator();
        QVERIFY(simulator);

        // Without a record separator: the same call, by the same synthesiser.
        QVERIFY(m_sim->command("raw DOWN,100,200,5000").startsWith("sent"));
        QTRY_COMPARE(m_poster.mouseEvents().size(), 2);
        QCOMPARE(m_poster.mouseEvents().at(1).kind, MouseEventKind::LeftDown);
        QCOMPARE(m_poster.mouseEvents().at(1).point, screenPoint(100, 200));
        QCOMPARE(d().mouseSimulator(), simulator);
        // Datagrams are handled in order: once a later one is handled, the MOVE of the first
        // would have been too.
        QVERIFY(m_sim->command("raw MOVE,300,400,5020").startsWith("sent"));
        QTRY_COMPARE(m_poster.mouseEvents().size(), 3);
        QCOMPARE(m_poster.mouseEvents().at(2).kind, MouseEventKind::LeftDragged);
        QCOMPARE(m_poster.mouseEvents().at(2).point, screenPoint(300, 400));
    }

    void datagramFromAnotherHostIsObeyed()
    {
        startSwitchTouchback();
        sendFrom(QStringLiteral("127.0.0.9"), "MOVE,16384,16384,1");
        QTRY_COMPARE(m_poster.mouseEvents().size(), 1);
        QCOMPARE(m_poster.mouseEvents().constFirst().kind, MouseEventKind::LeftDragged);
        QCOMPARE(m_poster.mouseEvents().constFirst().point, screenPoint(16384, 16384));
    }

    void malformedDatagramsAreDroppedWithOneLine()
    {
        startSwitchTouchback();
        sendFrom(QStringLiteral("127.0.0.9"), QByteArray("DOWN,\xff\xfe,1,2"));
        sendFrom(QStringLiteral("127.0.0.9"), "DOWN,1,2;MOVE,3,4,5");
        sendFrom(QStringLiteral("127.0.0.9"), "MOVE,3,4,5");
        QTRY_COMPARE(m_poster.mouseEvents().size(), 1);
        QCOMPARE(m_poster.mouseEvents().constFirst().kind, MouseEventKind::LeftDragged);
        QCOMPARE(m_poster.mouseEvents().constFirst().point, screenPoint(3, 4));
        QCOMPARE(dropped(), 2);
    }

    void datagramsWaitWhileAnAlertIsOpen()
    {
        startSwitchTouchback();
        int postedWhileOpen = -1;
        m_alerts->whileOpen = [&] {
            sendFrom(QStringLiteral("127.0.0.9"), "DOWN,100,200,1");
            QTest::qWait(300);
            postedWhileOpen = int(m_poster.mouseEvents().size());
        };
        Alerts::run(QStringLiteral("Something"), QStringLiteral("else"));
        QCOMPARE(postedWhileOpen, 0);
        QTRY_COMPARE(m_poster.mouseEvents().size(), 1);
    }

    void waitingListDuringAnAlertIsBounded()
    {
        startSwitchTouchback();
        QUdpSocket sender;
        QVERIFY(sender.bind(QHostAddress(QStringLiteral("127.0.0.9")), 0));
        m_alerts->whileOpen = [&] {
            // More than the 2048 the list keeps, sent in batches that the session has read
            // before the next goes out, so the socket's own buffer never drops one.
            QUdpSocket* socket = d().sendUdpSocket();
            for (int i = 0; i < 2100; ++i) {
                const QByteArray touch = "MOVE," + QByteArray::number(i) + ",7,1";
                sender.writeDatagram(touch, QHostAddress::LocalHost, 41863);
                if (i % 50 == 49)
                    QTRY_VERIFY_WITH_TIMEOUT(!socket->hasPendingDatagrams(), 10000);
            }
            QTRY_VERIFY(!m_log->messages("orventa.dashboard")
                             .filter(QStringLiteral("Dropping touch datagrams"))
                             .isEmpty());
            QTest::qWait(200);
        };
        Alerts::run(QStringLiteral("Something"), QStringLiteral("else"));
        QTRY_COMPARE_WITH_TIMEOUT(m_poster.mouseEvents().size(), 2048, 10000);
        // The first ones, in order; the rest dropped with one line each way.
        QCOMPARE(m_poster.mouseEvents().first().point, screenPoint(0, 7));
        QCOMPARE(m_poster.mouseEvents().last().point, screenPoint(2047, 7));
        const QStringList lines = m_log->messages("orventa.dashboard");
        QCOMPARE(lines
                     .filter(QStringLiteral("Dropping touch datagrams: 2048 wait for a modal "
                                            "session"))
                     .size(),
            1);
        QCOMPARE(lines
                     .filter(QStringLiteral("Dropped 52 touch datagrams that came while the "
                                            "waiting list was full"))
                     .size(),
            1);
        QTest::qWait(100);
        QCOMPARE(m_poster.mouseEvents().size(), 2048);
    }

    void switchOffKeepsTheSocketAndOnReplacesIt()
    {
        startSwitchTouchback();
        QPointer<QUdpSocket> first = d().sendUdpSocket();
        const int before = enableRequests();
        toggleSwitch(d(), false);
        QTRY_VERIFY(enableSent(
            before, QStringLiteral("ip=%1&enable=false&hidemenu=true&isHDMI=true").arg(kLocalIp)));
        QVERIFY(!d().pingTimer());
        QCOMPARE(first->state(), QAbstractSocket::BoundState);
        QCOMPARE(m_poster.finishes(), 0); // the desktop session stays with the socket
        sendFrom(QStringLiteral("127.0.0.9"), "MOVE,10,20,1"); // still obeyed
        QTRY_COMPARE(m_poster.mouseEvents().size(), 1);

        toggleSwitch(d(), true);
        QVERIFY(d().sendUdpSocket() != first.data());
        QCOMPARE(d().sendUdpSocket()->state(), QAbstractSocket::BoundState);
        QCOMPARE(d().sendUdpSocket()->localPort(), quint16(41863));
        QCOMPARE(m_log->messages("orventa.dashboard").count(QStringLiteral("Socket Ready")), 2);
        // The replaced socket's desktop session ended, and a new one was asked for.
        QCOMPARE(m_poster.finishes(), 1);
        QCOMPARE(m_poster.preparations(), 2);
        QTRY_VERIFY(first.isNull());
        sendFrom(QStringLiteral("127.0.0.9"), "MOVE,30,40,1");
        QTRY_COMPARE(m_poster.mouseEvents().size(), 2);
    }

    void castButtonStartsAndStopsACast()
    {
        d().didPickCastingDeviceWithIP(kReceiverIp, kReceiverHex, kReceiverName);
        const int before = enableRequests();
        d().castButtonClicked();
        QCOMPARE(m_alerts->alerts(), QList<AlertRecorder::Alert> {kEnabled});
        QVERIFY(d().isCastingInProgress());
        QVERIFY(d().pingTimer());
        QCOMPARE(d().sendUdpSocket()->state(), QAbstractSocket::BoundState);
        QVERIFY(d().hdmiToggleView()->isHidden());
        QCOMPARE(d().castButtonView()->layerContents(), QStringLiteral("castingActive"));
        QTRY_VERIFY(enableSent(
            before, QStringLiteral("ip=%1&enable=true&hidemenu=false&isHDMI=false").arg(kLocalIp)));

        d().castButtonClicked();
        QCOMPARE(m_alerts->alerts(), (QList<AlertRecorder::Alert> {kEnabled, kDisabled}));
        QVERIFY(!d().isCastingInProgress());
        QVERIFY(!d().pingTimer());
        QCOMPARE(d().sendUdpSocket()->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(m_poster.preparations(), 1);
        QCOMPARE(m_poster.finishes(), 1); // the desktop session ends with the socket
        QVERIFY(!d().hdmiToggleView()->isHidden());
        QCOMPARE(d().castButtonView()->layerContents(), QStringLiteral("castingInactive"));
        QTRY_VERIFY(enableSent(
            before, QStringLiteral("ip=%1&enable=false&hidemenu=true&isHDMI=false").arg(kLocalIp)));
    }

    void castButtonWithoutReceiverShowsDisabled()
    {
        // Without a local address the disable request (with no receiver) is not sent at all.
        QVERIFY(ipCommand(QStringLiteral("route del default")));
        d().castButtonClicked();
        QVERIFY(ipCommand(QStringLiteral("route add default via 10.99.0.1 dev d0")));
        QCOMPARE(m_alerts->alerts(), QList<AlertRecorder::Alert> {kDisabled});
        QVERIFY(!d().hdmiToggleView()->isHidden());
        QVERIFY(!d().sendUdpSocket());
        // The request was made with no address, and returned before building anything: the
        // flags keep their first values.
        QCOMPARE(d().hdmiTouchback()->obtainedDeviceIP(), std::optional<QString>());
        QCOMPARE(
            d().hdmiTouchback()->enableHDMITouchbackValue(), std::optional<QString>(u"true"_s));
    }

    void closeTouchBackEndsTheCast()
    {
        d().didPickCastingDeviceWithIP(kReceiverIp, kReceiverHex, kReceiverName);
        d().closeTouchBack(); // no socket yet: nothing
        QVERIFY(m_alerts->alerts().isEmpty());
        QCOMPARE(m_poster.finishes(), 0);
        d().castButtonClicked();
        d().closeTouchBack();
        QCOMPARE(m_poster.finishes(), 1);
        QCOMPARE(m_alerts->alerts(), (QList<AlertRecorder::Alert> {kEnabled, kDisabled}));
        QVERIFY(!d().isCastingInProgress());
        QVERIFY(!d().pingTimer());
        d().closeTouchBack(); // already closed: nothing
        QCOMPARE(m_alerts->alerts().size(), 2);
    }

    void bindFailureIsLogged()
    {
        QUdpSocket squatter;
        QVERIFY(squatter.bind(QHostAddress::AnyIPv4, 41863));
        d().didPickCastingDeviceWithIP(kReceiverIp, kReceiverHex, kReceiverName);
        toggleSwitch(d(), true);
        const QStringList lines = m_log->messages("orventa.dashboard");
        QVERIFY(std::any_of(lines.begin(), lines.end(), [](const QString& line) {
            return line.startsWith(QStringLiteral("Error binding to port: "));
        }));
        QVERIFY(!lines.contains(QStringLiteral("Socket Ready")));
        QVERIFY(d().pingTimer()); // the heartbeat runs all the same
        QVERIFY(m_alerts->alerts().isEmpty());
    }

    void settingsChoicesLeaveARunningSessionAlone()
    {
        DashboardViewController::setPingIntervalForTesting(200ms);
        const auto restore
            = qScopeGuard([] { DashboardViewController::setPingIntervalForTesting(0ms); });
        startSwitchTouchback();
        const QString ping = QStringLiteral("/pingServerWithIP?ip=%1&msg=ping").arg(kLocalIp);
        const auto pings = [&] { return requestsTo(*m_sim, QStringLiteral("/pingServerWithIP")); };
        QTRY_VERIFY(!pings().isEmpty());
        QVERIFY(m_sim->command("touch MOVE 1000 2000 1").startsWith("sent"));
        QTRY_COMPARE(m_poster.mouseEvents().size(), 1);
        QUdpSocket* socket = d().sendUdpSocket();
        QTimer* timer = d().pingTimer();
        const int enables = enableRequests();
        const qsizetype requestsBefore = m_sim->requests().size();

        // The user changes both choices from the keyboard while the session runs.
        d().settingsIconClicked();
        ZentrixSettingsViewController* settings = d().settingsController();
        QVERIFY(settings);
        settings->fpsButton()->setFocus();
        QTest::keyClick(settings->fpsButton(), Qt::Key_Down);
        settings->sessionPresentButton()->setFocus();
        QTest::keyClick(settings->sessionPresentButton(), Qt::Key_Down);
        QCOMPARE(settings->fpsButton()->currentText(), QStringLiteral("25"));
        QCOMPARE(settings->sessionPresentButton()->currentText(), QStringLiteral("720P"));

        // The heartbeat goes on exactly as before, and nothing else reaches the receiver.
        const qsizetype pingsAtChange = pings().size();
        QTRY_VERIFY(pings().size() >= pingsAtChange + 3);
        for (const QJsonObject& request : m_sim->requests().mid(requestsBefore))
            QCOMPARE(request.value(QStringLiteral("target")).toString(), ping);
        QCOMPARE(enableRequests(), enables);
        // Touches still land where they did, through the same socket and timer.
        QVERIFY(m_sim->command("touch MOVE 1000 2000 2").startsWith("sent"));
        QTRY_COMPARE(m_poster.mouseEvents().size(), 2);
        QCOMPARE(m_poster.mouseEvents().at(1).kind, MouseEventKind::LeftDragged);
        QCOMPARE(m_poster.mouseEvents().at(1).point, m_poster.mouseEvents().at(0).point);
        QCOMPARE(m_poster.mouseEvents().at(1).point, screenPoint(1000, 2000));
        QCOMPARE(d().sendUdpSocket(), socket);
        QCOMPARE(d().pingTimer(), timer);
        QVERIFY(d().isTouchBackEnabled());
        QVERIFY(m_alerts->alerts().isEmpty());
    }
};

QTEST_MAIN(TestSessionTouchback)
#include "tst_session_touchback.moc"
