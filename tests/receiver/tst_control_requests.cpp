// Heartbeat and touchback requests against receiver-sim and a raw capture on real sockets,
// inside a private network namespace whose default-route interface d0 has 10.99.0.2.
#include "HandlerCalls.h"
#include "NetnsShell.h"
#include "RawCaptureServer.h"
#include "RepliesInFlight.h"
#include "SimProcess.h"
#include "StdoutCapture.h"

#include "receiver/HDMITouchBack.h"
#include "receiver/PingServer.h"
#include "receiver/ReceiverSession.h"
#include "receiver/TriggerCastingApp.h"

#include "receiver/ReceiverReply.h"
#include <QSignalSpy>
#include <QTest>

namespace {

const QByteArray kJson = "application/json; charset=utf-8";

} // namespace

class ControlRequestsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(insideTestNamespace(), "run through tests/support/with-netns-route");
        QCOMPARE(PingServer::localWiFiAddress(), QStringLiteral("10.99.0.2"));
    }

    void cleanup() { QVERIFY(abortRepliesInFlight()); }

    void sharedClientWaitsSixtySeconds()
    {
        QCOMPARE(ReceiverSession::shared()->transferTimeout(), 60000);
        QCOMPARE(ReceiverSession::shared(), ReceiverSession::shared());
    }

    void pingAnswers_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<bool>("success");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QByteArray>("printed");
        QTest::newRow("200 OK") << QByteArray("answer /pingServerWithIP 200 OK") << true << ""
                                << QByteArray("Ping succeeded..Optional(\"OK\")");
        QTest::newRow("CAST_OFF in JSON")
            << QByteArray("answer /pingServerWithIP 200 {\"state\":\"CAST_OFF\"}") << true
            << "CAST_OFF"
            << QByteArray("Ping succeeded..Optional(\"{\\\"state\\\":\\\"CAST_OFF\\\"}\")");
        QTest::newRow("busy") << QByteArray("busy") << true << "DEVICE_BUSY"
                              << QByteArray("Ping succeeded..Optional(\"Device is busy\")");
        QTest::newRow("busy lower case")
            << QByteArray("answer /pingServerWithIP 200 device is busy") << true << ""
            << QByteArray("Ping succeeded..Optional(\"device is busy\")");
        QTest::newRow("both, CAST_OFF wins")
            << QByteArray("answer /pingServerWithIP 200 Device is busy CAST_OFF") << true
            << "CAST_OFF" << QByteArray("Ping succeeded..Optional(\"Device is busy CAST_OFF\")");
        QTest::newRow("404 with CAST_OFF body")
            << QByteArray("answer /pingServerWithIP 404 CAST_OFF") << false << ""
            << QByteArray("Ping failed2..");
        QTest::newRow("500") << QByteArray("answer /pingServerWithIP 500 Device is busy") << false
                             << "" << QByteArray("Ping failed2..");
    }

    void pingAnswers()
    {
        QFETCH(QByteArray, command);
        QFETCH(bool, success);
        QFETCH(QString, message);
        QFETCH(QByteArray, printed);
        SimProcess sim(QStringLiteral("127.0.0.11"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command(command).startsWith("ok"));
        StdoutCapture out;
        HandlerCalls calls;
        {
            PingServer ping;
            ping.pingServerHeartbeat(QStringLiteral("127.0.0.11"), calls.handler());
        } // the request outlives its object
        QTRY_COMPARE(calls.count, 1);
        QCOMPARE(calls.success, success);
        QCOMPARE(calls.message, message);
        const int status = command == "busy" ? 200 : command.split(' ').value(2).toInt();
        QCOMPARE(out.lines().size(), 3);
        QVERIFY2(out.lines()[0].startsWith(
                     "Optional(<HTTPURLResponse: URL: http://127.0.0.11:5000/pingServerWithIP?ip="
                     "10.99.0.2&msg=ping, status code: "
                     + QByteArray::number(status) + ", headers: {"),
            out.lines()[0]);
        QCOMPARE(out.lines()[1], "statusCode: " + QByteArray::number(status));
        QCOMPARE(out.lines()[2], printed);

        const auto requests = sim.requests();
        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests[0]["method"].toString(), QStringLiteral("GET"));
        QCOMPARE(requests[0]["target"].toString(),
            QStringLiteral("/pingServerWithIP?ip=10.99.0.2&msg=ping"));
        QCOMPARE(requests[0]["bodyLength"].toInt(), 0);
    }

    void pingBytesOnTheWire()
    {
        RawCaptureServer raw;
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.12"), 5000));
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.12"), calls.handler());
        QTRY_COMPARE(calls.count, 1);
        QVERIFY(calls.success);
        const QByteArray request = raw.requests().value(0);
        QVERIFY2(request.startsWith("GET /pingServerWithIP?ip=10.99.0.2&msg=ping HTTP/1.1\r\n"),
            request);
        const auto headers = RawCaptureServer::headerLines(request);
        QCOMPARE(headers.count("Content-Type: " + kJson), 1);
        QCOMPARE(headers.count("Accept: " + kJson), 1);
        QCOMPARE(RawCaptureServer::body(request), QByteArray());
    }

    void pingWorkedExample()
    {
        QVERIFY(ipCommand(QStringLiteral("addr add 192.168.1.20/24 dev d0")));
        QVERIFY(ipCommand(QStringLiteral("addr add 192.168.1.5/32 dev lo")));
        const auto cleanup = qScopeGuard([] {
            ipCommand(QStringLiteral("addr del 192.168.1.20/24 dev d0"));
            ipCommand(QStringLiteral("addr del 192.168.1.5/32 dev lo"));
        });
        QCOMPARE(PingServer::localWiFiAddress(), QStringLiteral("192.168.1.20"));
        SimProcess sim(QStringLiteral("192.168.1.5"));
        QVERIFY(sim.isReady());
        StdoutCapture out;
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("192.168.1.5"), calls.handler());
        QTRY_COMPARE(calls.count, 1);
        QVERIFY(out.lines().value(0).contains(
            "URL: http://192.168.1.5:5000/pingServerWithIP?ip=192.168.1.20&msg=ping,"));
        QTRY_COMPARE(sim.requests().size(), 1); // the log line may follow the answer
        QCOMPARE(sim.requests().value(0)["target"].toString(),
            QStringLiteral("/pingServerWithIP?ip=192.168.1.20&msg=ping"));
    }

    void pingWithoutLocalAddressAnswersAtOnce()
    {
        QVERIFY(ipCommand(QStringLiteral("route del default")));
        const auto cleanup = qScopeGuard(
            [] { ipCommand(QStringLiteral("route add default via 10.99.0.1 dev d0")); });
        RawCaptureServer raw;
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.13"), 5000));
        const qsizetype before = repliesInFlight();
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.13"), calls.handler());
        QCOMPARE(calls.count, 1); // synchronously, on the calling thread
        QCOMPARE(calls.success, false);
        QCOMPARE(calls.message, QString());
        QCOMPARE(repliesInFlight(), before);
        QCOMPARE(raw.requests().size(), 0);
    }

    void pingSilentCases()
    {
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        HandlerCalls calls;
        // An address with a space does not make a URL: nothing is sent.
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0 .14"), calls.handler());
        // Nobody listens here: the connection is refused.
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.14"), calls.handler());
        QVERIFY(finished.wait(5000));
        QCoreApplication::processEvents();
        QCOMPARE(finished.count(), 1); // only the refused one went out
        QCOMPARE(calls.count, 0);
    }

    void pingTimeoutCallsNothing()
    {
        SimProcess sim(QStringLiteral("127.0.0.15"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("silent /pingServerWithIP").startsWith("ok"));
        ReceiverSession::setTransferTimeoutForTesting(300);
        const auto restore = qScopeGuard([] { ReceiverSession::setTransferTimeoutForTesting(0); });
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        StdoutCapture out;
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.15"), calls.handler());
        QVERIFY(finished.wait(5000));
        QCoreApplication::processEvents();
        QTRY_COMPARE(sim.requests().size(), 1); // it did arrive, it was just never answered
        QCOMPARE(calls.count, 0);
        QVERIFY(out.lines().isEmpty());
    }

    void touchbackFlags_data()
    {
        QTest::addColumn<bool>("enable");
        QTest::addColumn<bool>("fromHDMI");
        QTest::addColumn<QString>("query");
        QTest::newRow("on, HDMI") << true << true << "enable=true&hidemenu=false&isHDMI=true";
        QTest::newRow("on, wireless") << true << false << "enable=true&hidemenu=false&isHDMI=false";
        QTest::newRow("off, HDMI") << false << true << "enable=false&hidemenu=true&isHDMI=true";
        QTest::newRow("off, wireless")
            << false << false << "enable=false&hidemenu=true&isHDMI=false";
    }

    void touchbackFlags()
    {
        QFETCH(bool, enable);
        QFETCH(bool, fromHDMI);
        QFETCH(QString, query);
        SimProcess sim(QStringLiteral("127.0.0.16"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("answer /enableWifiTouchback 503 nope").startsWith("ok"));
        StdoutCapture out;
        HDMITouchBack touchback;
        touchback.enableHDMITouchback(enable, fromHDMI, QStringLiteral("127.0.0.16"));
        QCOMPARE(touchback.obtainedDeviceIP(), std::optional(QStringLiteral("127.0.0.16")));
        QCOMPARE(touchback.enableHDMITouchbackValue(),
            std::optional(QString(enable ? "true" : "false")));
        QCOMPARE(touchback.hideMenu(), std::optional(QString(enable ? "false" : "true")));
        QCOMPARE(touchback.isHDMI(), std::optional(QString(fromHDMI ? "true" : "false")));
        QVERIFY(sim.waitForRequests(1));
        QCOMPARE(sim.requests()[0]["target"].toString(),
            QStringLiteral("/enableWifiTouchback?ip=10.99.0.2&") + query);
        // Any status only produces the printed response.
        QTRY_COMPARE(out.lines().size(), 1);
        QVERIFY2(out.lines()[0].startsWith("Optional(<HTTPURLResponse: URL: http://127.0.0.16:5000/"
                                           "enableWifiTouchback?ip=10.99.0.2&"
                     + query.toUtf8() + ", status code: 503,"),
            out.lines()[0]);
    }

    void touchbackInitialValues()
    {
        HDMITouchBack touchback;
        QCOMPARE(touchback.obtainedDeviceIP(), std::optional(QString()));
        QVERIFY(touchback.obtainedDeviceIP().has_value());
        QCOMPARE(touchback.enableHDMITouchbackValue(), std::optional(QStringLiteral("true")));
        QCOMPARE(touchback.hideMenu(), std::optional(QStringLiteral("true")));
        QCOMPARE(touchback.isHDMI(), std::optional(QStringLiteral("true")));
        touchback.setHideMenu(std::nullopt);
        QVERIFY(!touchback.hideMenu());
    }

    void touchbackBytesOnTheWire()
    {
        RawCaptureServer raw;
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.17"), 5000));
        HDMITouchBack touchback;
        touchback.enableHDMITouchback(true, false, QStringLiteral("127.0.0.17"));
        QTRY_COMPARE(raw.requests().size(), 1);
        const QByteArray request = raw.requests()[0];
        QVERIFY2(request.startsWith("GET /enableWifiTouchback?ip=10.99.0.2&enable=true&hidemenu="
                                    "false&isHDMI=false HTTP/1.1\r\n"),
            request);
        const auto headers = RawCaptureServer::headerLines(request);
        QCOMPARE(headers.count("Content-Type: " + kJson), 1);
        QCOMPARE(headers.count("Accept: " + kJson), 1);
        QCOMPARE(RawCaptureServer::body(request), QByteArray());
    }

    void touchbackWorkedExample()
    {
        QVERIFY(ipCommand(QStringLiteral("addr add 192.168.1.31/24 dev d0")));
        QVERIFY(ipCommand(QStringLiteral("addr add 192.168.1.20/32 dev lo")));
        const auto cleanup = qScopeGuard([] {
            ipCommand(QStringLiteral("addr del 192.168.1.31/24 dev d0"));
            ipCommand(QStringLiteral("addr del 192.168.1.20/32 dev lo"));
        });
        SimProcess sim(QStringLiteral("192.168.1.20"));
        QVERIFY(sim.isReady());
        StdoutCapture out;
        HDMITouchBack touchback;
        touchback.enableHDMITouchback(true, false, QStringLiteral("192.168.1.20"));
        QTRY_COMPARE(out.lines().size(), 1);
        QVERIFY2(out.lines()[0].contains("URL: http://192.168.1.20:5000/enableWifiTouchback?ip="
                                         "192.168.1.31&enable=true&hidemenu=false&isHDMI=false,"),
            out.lines()[0]);
        QTRY_COMPARE(sim.requests().size(), 1); // the log line may follow the answer
        QCOMPARE(sim.requests().value(0)["peer"].toString(), QStringLiteral("192.168.1.20"));
    }

    void touchbackWithoutLocalAddressSendsNothing()
    {
        RawCaptureServer raw;
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.18"), 5000));
        HDMITouchBack touchback;
        touchback.enableHDMITouchback(false, false, QStringLiteral("127.0.0.18"));
        QTRY_COMPARE(raw.requests().size(), 1);
        QVERIFY(ipCommand(QStringLiteral("route del default")));
        const auto cleanup = qScopeGuard(
            [] { ipCommand(QStringLiteral("route add default via 10.99.0.1 dev d0")); });
        const qsizetype before = repliesInFlight(); // the first reply may still be on its way
        touchback.enableHDMITouchback(true, true, QStringLiteral("127.0.0.19"));
        QCOMPARE(touchback.obtainedDeviceIP(), std::optional(QStringLiteral("127.0.0.19")));
        QCOMPARE(touchback.enableHDMITouchbackValue(), std::optional(QStringLiteral("false")));
        QCOMPARE(touchback.hideMenu(), std::optional(QStringLiteral("true")));
        QCOMPARE(touchback.isHDMI(), std::optional(QStringLiteral("false")));
        QCOMPARE(repliesInFlight(), before);
    }

    void touchbackSilentCases()
    {
        StdoutCapture out;
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        HDMITouchBack touchback;
        touchback.enableHDMITouchback(true, false, QStringLiteral("127.0.0.20 "));
        QCOMPARE(touchback.obtainedDeviceIP(), std::optional(QStringLiteral("127.0.0.20 ")));
        touchback.enableHDMITouchback(true, false, QStringLiteral("127.0.0.20")); // refused
        QVERIFY(finished.wait(5000));
        QCoreApplication::processEvents();
        QCOMPARE(finished.count(), 1);
        QVERIFY(out.lines().isEmpty());
    }
    void castTriggerOnTheWire()
    {
        RawCaptureServer raw;
        raw.setAnswer(200, "127.0.0.99");
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.30"), 5000));
        StdoutCapture out;
        auto cast = TriggerCastingApp::create();
        QVERIFY(!cast->obtainedDeviceIP());
        QSignalSpy stored(cast.get(), &TriggerCastingApp::obtainedDeviceIPChanged);
        cast->triggerCastService(QStringLiteral("127.0.0.30"));
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(QStringLiteral("127.0.0.30")));
        QCOMPARE(out.lines().value(0), QByteArray("Optional(21 bytes)"));
        QVERIFY(stored.wait(5000));
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(QStringLiteral("127.0.0.99")));
        const QByteArray request = raw.requests().value(0);
        QVERIFY2(request.startsWith("POST /ws HTTP/1.1\r\n"), request);
        QCOMPARE(RawCaptureServer::body(request), QByteArray("{\"key\":\"ACTION_CAST\"}"));
        const auto headers = RawCaptureServer::headerLines(request);
        QCOMPARE(headers.count("Content-Type: " + kJson), 1);
        QCOMPARE(headers.count("Accept: " + kJson), 1);
        QCOMPARE(headers.count("Content-Length: 21"), 1);
        QVERIFY(out.lines().value(1).startsWith(
            "Optional(<HTTPURLResponse: URL: http://127.0.0.30:5000/ws, status code: 200,"));
    }

    void castTriggerAnswers_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QString>("stored");
        QTest::newRow("empty body") << QByteArray("answer /ws 200") << QString();
        QTest::newRow("error status") << QByteArray("answer /ws 500 broken") << "broken";
    }

    void castTriggerAnswers()
    {
        QFETCH(QByteArray, command);
        QFETCH(QString, stored);
        SimProcess sim(QStringLiteral("127.0.0.31"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command(command).startsWith("ok"));
        auto cast = TriggerCastingApp::create();
        QSignalSpy changed(cast.get(), &TriggerCastingApp::obtainedDeviceIPChanged);
        cast->triggerCastService(QStringLiteral("127.0.0.31"));
        QVERIFY(changed.wait(5000));
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(stored));
        const auto requests = sim.requests();
        QCOMPARE(requests.value(0)["target"].toString(), QStringLiteral("/ws"));
        QCOMPARE(requests.value(0)["body"].toString(), QStringLiteral("{\"key\":\"ACTION_CAST\"}"));
    }

    void castTriggerDecodesInvalidUtf8Lossily()
    {
        RawCaptureServer raw;
        raw.setAnswer(200,
            "a\xff"
            "b");
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.33"), 5000));
        auto cast = TriggerCastingApp::create();
        QSignalSpy changed(cast.get(), &TriggerCastingApp::obtainedDeviceIPChanged);
        cast->triggerCastService(QStringLiteral("127.0.0.33"));
        QVERIFY(changed.wait(5000));
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(QStringLiteral(u"a\uFFFDb")));
    }

    void castTriggerSilentCases()
    {
        StdoutCapture out;
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        auto cast = TriggerCastingApp::create();
        cast->triggerCastService(QStringLiteral("127.0.0 .32")); // no URL: nothing sent or printed
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(QStringLiteral("127.0.0 .32")));
        QVERIFY(out.lines().isEmpty());
        cast->triggerCastService(QStringLiteral("127.0.0.32")); // refused: address kept
        QVERIFY(finished.wait(5000));
        QCoreApplication::processEvents();
        QCOMPARE(finished.count(), 1);
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(QStringLiteral("127.0.0.32")));
        QCOMPARE(out.lines(), QByteArrayList {"Optional(21 bytes)"});
    }

    void castTriggerEmptyAddress()
    {
        // "http://:5000/ws" is a URL without a host; the network layer refuses to send it.
        // The reply is deleted once handled, so its error is read while it finishes.
        QStringList errors;
        const QMetaObject::Connection recorder = connect(ReceiverSession::shared(),
            &ReceiverHttpClient::finished, this, [&errors](ReceiverReply* reply) {
                QVERIFY(!reply->status());
                errors.append(reply->errorString());
            });
        auto cast = TriggerCastingApp::create();
        cast->triggerCastService(QString());
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(QString()));
        QTRY_COMPARE(errors.size(), 1);
        disconnect(recorder);
        QVERIFY(!errors.first().isEmpty());
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(QString()));
    }
};

QTEST_GUILESS_MAIN(ControlRequestsTest)
#include "tst_control_requests.moc"
