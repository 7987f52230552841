// Each request to a receiver ends on its own: replies no receiver gives (a header block that never
// ends, an endless body) stall or end only their own request, while another request to the same
// receiver completes as usual. Against receiver-sim inside a private network namespace.
#include "HandlerCalls.h"
#include "LogCapture.h"
#include "NetnsShell.h"
#include "RepliesInFlight.h"
#include "SimProcess.h"
#include "StdoutCapture.h"

#include "receiver/HDMITouchBack.h"
#include "receiver/PingServer.h"
#include "receiver/ReceiverSession.h"
#include "receiver/TriggerCastingApp.h"

#include <QSignalSpy>

#include <QTest>
#include <algorithm>

class RequestIsolationTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(insideTestNamespace(), "run through with-netns-route"); }
    void cleanup() { QVERIFY(abortRepliesInFlight()); }

    void endlessHeaderBlockStallsOnlyItsOwnRequest()
    {
        SimProcess sim(QStringLiteral("127.0.0.85"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("hostile /ws slow-headers").startsWith("ok"));
        QVERIFY(sim.command("cast-off").startsWith("ok"));
        LogCapture log;
        auto cast = TriggerCastingApp::create();
        cast->triggerCastService(QStringLiteral("127.0.0.85"));
        QVERIFY(sim.waitForRequests(1)); // its header block is now coming, line by line
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.85"), calls.handler());
        QTRY_COMPARE_WITH_TIMEOUT(calls.count, 1, 10000);
        QCOMPARE(calls.success, true);
        QCOMPARE(calls.message, QStringLiteral("CAST_OFF"));
        QCOMPARE(repliesInFlight(), 1); // the cast request still waits for its answer
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(QStringLiteral("127.0.0.85")));
        QVERIFY(log.messages("orventa.receiver").isEmpty());
    }

    void endlessRepliesEndOnlyTheirOwnRequests()
    {
        SimProcess sim(QStringLiteral("127.0.0.86"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("hostile /ws huge-headers").startsWith("ok"));
        QVERIFY(sim.command("hostile /enableWifiTouchback endless").startsWith("ok"));
        QVERIFY(sim.command("busy").startsWith("ok"));
        LogCapture log;
        StdoutCapture out;
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        auto cast = TriggerCastingApp::create();
        cast->triggerCastService(QStringLiteral("127.0.0.86"));
        HDMITouchBack touchback;
        touchback.enableHDMITouchback(true, false, QStringLiteral("127.0.0.86"));
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.86"), calls.handler());
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 3, 20000);
        QCOMPARE(calls.count, 1);
        QCOMPARE(calls.success, true);
        QCOMPARE(calls.message, QStringLiteral("DEVICE_BUSY"));
        const QStringList lines = log.messages("orventa.receiver");
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines.filter(QStringLiteral("/ws dropped: its header block is over")).size(), 1);
        QCOMPARE(lines
                     .filter(QStringLiteral("/enableWifiTouchback?ip=10.99.0.2&enable=true&"
                                            "hidemenu=false&isHDMI=false cut at 1048576"))
                     .size(),
            1);
        // The cast got no answer; touchback's cut reply is still its answer.
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(QStringLiteral("127.0.0.86")));
        const QByteArrayList printed = out.lines();
        QCOMPARE(std::count_if(printed.cbegin(), printed.cend(),
                     [](const QByteArray& line) { return line.contains("enableWifiTouchback"); }),
            1);
    }
};

QTEST_GUILESS_MAIN(RequestIsolationTest)
#include "tst_request_isolation.moc"
