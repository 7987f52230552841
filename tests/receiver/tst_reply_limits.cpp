// Replies past the caps of ReplyLimits, from receiver-sim's hostile replies and a raw server, on
// real sockets inside a private network namespace (d0 has 10.99.0.2): the body is read up to
// its cap and the rest dropped with the connection closed and one line logged; a header block
// past its cap is a transport failure; within the caps every outcome is the usual one.
#include "HandlerCalls.h"
#include "LogCapture.h"
#include "NetnsShell.h"
#include "RawCaptureServer.h"
#include "SimProcess.h"
#include "StdoutCapture.h"

#include "receiver/HDMITouchBack.h"
#include "receiver/PingServer.h"
#include "receiver/ReceiverSession.h"
#include "receiver/ReplyLimits.h"
#include "receiver/TriggerCastingApp.h"

#include "receiver/ReceiverReply.h"
#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

namespace {

constexpr qint64 kCap = ReplyLimits::maxBodyBytes;

QStringList cutLines(const LogCapture& log)
{
    return log.messages("orventa.receiver").filter(QStringLiteral("cut at 1048576 bytes of body"));
}

// Waits for the simulator's report on a hostile reply and gives the bytes it sent.
qint64 bytesSentBeforeClose(SimProcess& sim, const QByteArray& prefix)
{
    const QRegularExpression report(
        QRegularExpression::escape(QString::fromUtf8(prefix)) + QStringLiteral(": (\\d+) bytes"));
    QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired()) {
        const auto match = report.match(QString::fromUtf8(sim.output()));
        if (match.hasMatch())
            return match.captured(1).toLongLong();
        QTest::qWait(20);
    }
    return -1;
}

// Settles the shared client: no replies of an earlier test left running.
void waitForNoReplies()
{
    QTRY_VERIFY(ReceiverSession::shared()->findChildren<ReceiverReply*>().isEmpty());
}

} // namespace

class ReplyLimitsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(insideTestNamespace(), "run through with-netns-route"); }
    void cleanup() { waitForNoReplies(); }

    void endlessHeartbeatIsCutAndItsKeywordStillCounts()
    {
        SimProcess sim(QStringLiteral("127.0.0.51"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("hostile /pingServerWithIP endless CAST_OFF").startsWith("ok"));
        LogCapture log;
        StdoutCapture out;
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.51"), calls.handler());
        QTRY_COMPARE_WITH_TIMEOUT(calls.count, 1, 10000);
        QCOMPARE(calls.success, true);
        QCOMPARE(calls.message, QStringLiteral("CAST_OFF"));
        QCOMPARE(cutLines(log).size(), 1);
        QVERIFY2(cutLines(log).first().startsWith(
                     "Reply from http://127.0.0.51:5000/pingServerWithIP?ip=10.99.0.2&msg=ping"),
            qPrintable(cutLines(log).first()));
        // The printed body is exactly the first mebibyte.
        QCOMPARE(out.lines().size(), 3);
        QCOMPARE(out.lines()[1], QByteArray("statusCode: 200"));
        const QByteArray prefix = "Ping succeeded..Optional(\"";
        QVERIFY(out.lines()[2].startsWith(prefix + "CAST_OFFCAST_OFF"));
        QCOMPARE(out.lines()[2].size(), prefix.size() + kCap + 2);
        // The connection was closed: the simulator stopped soon after the cap.
        const qint64 sent = bytesSentBeforeClose(sim, "/pingServerWithIP endless");
        QVERIFY2(sent >= kCap && sent < 32 * kCap, qPrintable(QString::number(sent)));
    }

    void keywordPastTheCapIsNotSeen()
    {
        RawCaptureServer raw;
        raw.setAnswer(200, QByteArray(kCap, 'x') + "Device is busy");
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.52"), 5000));
        LogCapture log;
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.52"), calls.handler());
        QTRY_COMPARE(calls.count, 1);
        QCOMPARE(calls.success, true);
        QCOMPARE(calls.message, QString());
        QCOMPARE(cutLines(log).size(), 1);
    }

    void bodyOfExactlyTheCapIsWhole()
    {
        RawCaptureServer raw;
        raw.setAnswer(200, QByteArray(kCap - 8, 'x') + "CAST_OFF");
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.53"), 5000));
        LogCapture log;
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.53"), calls.handler());
        QTRY_COMPARE(calls.count, 1);
        QCOMPARE(calls.message, QStringLiteral("CAST_OFF"));
        QVERIFY(cutLines(log).isEmpty());
    }

    void cutKeepsWholeCharacters()
    {
        // A two-byte character straddles the cap: the cut body ends before it and is still
        // UTF-8 text (a body that is not UTF-8 would end the process).
        RawCaptureServer raw;
        raw.setAnswer(200, QByteArray(kCap - 1, 'a') + "\xc3\xa9" + QByteArray(100, 'b'));
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.54"), 5000));
        StdoutCapture out;
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.54"), calls.handler());
        QTRY_COMPARE(calls.count, 1);
        QCOMPARE(calls.success, true);
        QVERIFY(out.lines().value(2).endsWith("aaa\")"));
    }

    void headerBlockOverItsCapIsATransportFailure()
    {
        SimProcess sim(QStringLiteral("127.0.0.55"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("hostile /pingServerWithIP huge-headers 70").startsWith("ok"));
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        LogCapture log;
        StdoutCapture out;
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.55"), calls.handler());
        QVERIFY(finished.wait(10000));
        QCoreApplication::processEvents();
        QCOMPARE(calls.count, 0);
        QVERIFY(out.lines().isEmpty());
        QCOMPARE(log.messages("orventa.receiver"),
            QStringList {QStringLiteral("Reply from http://127.0.0.55:5000/pingServerWithIP?ip="
                                        "10.99.0.2&msg=ping dropped: its header block is over "
                                        "65536 bytes")});
    }

    void endlessHeaderBlockIsStoppedAtItsCap()
    {
        SimProcess sim(QStringLiteral("127.0.0.60"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("hostile /pingServerWithIP huge-headers").startsWith("ok"));
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        LogCapture log;
        StdoutCapture out;
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.60"), calls.handler());
        QVERIFY(finished.wait(10000));
        QCoreApplication::processEvents();
        QCOMPARE(calls.count, 0);
        QVERIFY(out.lines().isEmpty());
        QCOMPARE(log.messages("orventa.receiver"),
            QStringList {QStringLiteral("Reply from http://127.0.0.60:5000/pingServerWithIP?ip="
                                        "10.99.0.2&msg=ping dropped: its header block is over "
                                        "65536 bytes")});
        // The connection is closed, and the client still serves other receivers.
        const qint64 sent = bytesSentBeforeClose(sim, "/pingServerWithIP huge-headers");
        QVERIFY2(sent > 0, qPrintable(QString::number(sent)));
        SimProcess other(QStringLiteral("127.0.0.61"));
        QVERIFY(other.isReady());
        HandlerCalls next;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.61"), next.handler());
        QTRY_COMPARE_WITH_TIMEOUT(next.count, 1, 10000);
        QCOMPARE(next.success, true);
    }

    void brokenRepliesReportNothing_data()
    {
        QTest::addColumn<QByteArray>("mode");
        QTest::newRow("garbage status") << QByteArray("garbage-status");
        QTest::newRow("reset mid-body") << QByteArray("reset-mid-body");
    }

    void brokenRepliesReportNothing()
    {
        QFETCH(QByteArray, mode);
        // A status line that is not HTTP is no answer (no old-style HTTP/0.9 replies).
        SimProcess sim(QStringLiteral("127.0.0.56"));
        QVERIFY(sim.isReady());
        for (const char* path : {"/pingServerWithIP", "/enableWifiTouchback", "/ws"})
            QVERIFY(sim.command("hostile " + QByteArray(path) + ' ' + mode).startsWith("ok"));
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        StdoutCapture out;
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.56"), calls.handler());
        HDMITouchBack touchback;
        touchback.enableHDMITouchback(true, false, QStringLiteral("127.0.0.56"));
        auto cast = TriggerCastingApp::create();
        cast->triggerCastService(QStringLiteral("127.0.0.56"));
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 3, 20000);
        QCoreApplication::processEvents();
        QCOMPARE(calls.count, 0);
        QCOMPARE(out.lines(), QByteArrayList {"Optional(21 bytes)"}); // the cast's request line
        QCOMPARE(cast->obtainedDeviceIP(), std::optional(QStringLiteral("127.0.0.56")));
    }

    void slowReplyEndsAsUsual()
    {
        SimProcess sim(QStringLiteral("127.0.0.57"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("hostile /pingServerWithIP slow busy").startsWith("ok"));
        HandlerCalls calls;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.57"), calls.handler());
        QTest::qWait(1500);
        QCOMPARE(calls.count, 0); // still trickling in
        QTRY_COMPARE_WITH_TIMEOUT(calls.count, 1, 10000);
        QCOMPARE(calls.success, true);
        QCOMPARE(calls.message, QString());
    }

    void endlessTouchbackAndCastReplies()
    {
        SimProcess sim(QStringLiteral("127.0.0.58"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("hostile /enableWifiTouchback endless").startsWith("ok"));
        QVERIFY(sim.command("hostile /ws endless 127.0.0.9|").startsWith("ok"));
        LogCapture log;
        StdoutCapture out;
        HDMITouchBack touchback;
        touchback.enableHDMITouchback(true, true, QStringLiteral("127.0.0.58"));
        QTRY_COMPARE_WITH_TIMEOUT(out.lines().size(), 1, 10000);
        QVERIFY(out.lines()[0].startsWith("Optional(<HTTPURLResponse: URL: http://127.0.0.58:5000/"
                                          "enableWifiTouchback?ip=10.99.0.2&enable=true"));
        // The connection was closed (what was sent includes the loopback's socket buffers).
        const qint64 sentToTouchback = bytesSentBeforeClose(sim, "/enableWifiTouchback endless");
        QVERIFY2(sentToTouchback > 0 && sentToTouchback < 32 * kCap,
            qPrintable(QString::number(sentToTouchback)));

        auto cast = TriggerCastingApp::create();
        QSignalSpy stored(cast.get(), &TriggerCastingApp::obtainedDeviceIPChanged);
        cast->triggerCastService(QStringLiteral("127.0.0.58"));
        QVERIFY(stored.wait(10000));
        QCOMPARE(cast->obtainedDeviceIP()->size(), kCap);
        QVERIFY(cast->obtainedDeviceIP()->startsWith(QStringLiteral("127.0.0.9|127.0.0.9|")));
        QCOMPARE(cutLines(log).size(), 2);
        const qint64 sent = bytesSentBeforeClose(sim, "/ws endless");
        QVERIFY2(sent > 0 && sent < 32 * kCap, qPrintable(QString::number(sent)));
    }

    void castCompletionKeepsItsObject()
    {
        RawCaptureServer raw;
        raw.setAnswer(200, "127.0.0.77");
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.59"), 5000));
        auto cast = TriggerCastingApp::create();
        QString stored;
        connect(cast.get(), &TriggerCastingApp::obtainedDeviceIPChanged, this,
            [&stored, object = cast.get()] { stored = object->obtainedDeviceIP().value_or(""); });
        const std::weak_ptr<TriggerCastingApp> watch = cast;
        cast->triggerCastService(QStringLiteral("127.0.0.59"));
        cast.reset(); // the caller lets go at once
        QVERIFY(!watch.expired());
        QTRY_COMPARE(stored, QStringLiteral("127.0.0.77"));
        QTRY_VERIFY(watch.expired()); // and it goes once the completion has run
    }
};

QTEST_GUILESS_MAIN(ReplyLimitsTest)
#include "tst_reply_limits.moc"
