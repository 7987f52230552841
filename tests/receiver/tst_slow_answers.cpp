// Answers that take their time, against receiver-sim inside a private network namespace (d0 has
// 10.99.0.2). The requests' only time limit is 60 s in which nothing moves: an answer after 12 s
// counts like any other, and a receiver silent for 61 s gives no result at all. The three cases
// run side by side, to different receivers, so the test takes about a minute.
#include "NetnsShell.h"
#include "RepliesInFlight.h"
#include "SimProcess.h"
#include "StdoutCapture.h"

#include "receiver/PingServer.h"
#include "receiver/ReceiverSession.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

namespace {

struct HandlerCalls
{
    int count = 0;
    bool success = false;
    QString message;
    qint64 afterMs = -1;
    PingServer::Handler handler(const QElapsedTimer& clock)
    {
        return [this, &clock](bool s, const QString& m) {
            ++count;
            success = s;
            message = m;
            afterMs = clock.elapsed();
        };
    }
};

} // namespace

class SlowAnswersTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(insideTestNamespace(), "run through with-netns-route"); }
    void cleanup() { QVERIFY(abortRepliesInFlight()); }

    void answersAfterTwelveSecondsCountAndSilenceDoesNothing()
    {
        SimProcess failing(QStringLiteral("127.0.0.81"));
        SimProcess castOff(QStringLiteral("127.0.0.82"));
        SimProcess silent(QStringLiteral("127.0.0.83"));
        QVERIFY(failing.isReady() && castOff.isReady() && silent.isReady());
        QVERIFY(failing.command("answer /pingServerWithIP 500 Device is busy").startsWith("ok"));
        QVERIFY(failing.command("delay /pingServerWithIP 12000").startsWith("ok"));
        QVERIFY(castOff.command("cast-off").startsWith("ok"));
        QVERIFY(castOff.command("delay /pingServerWithIP 12000").startsWith("ok"));
        QVERIFY(silent.command("silent /pingServerWithIP").startsWith("ok"));

        StdoutCapture out;
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        QElapsedTimer clock;
        clock.start();
        HandlerCalls failed, ended, nothing;
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.81"), failed.handler(clock));
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.82"), ended.handler(clock));
        PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.83"), nothing.handler(clock));

        // A 500 after 12 s is a failure of the heartbeat; a CAST_OFF after 12 s ends the session.
        QTRY_VERIFY_WITH_TIMEOUT(failed.count == 1 && ended.count == 1, 30000);
        QVERIFY2(failed.afterMs >= 11900, qPrintable(QString::number(failed.afterMs)));
        QCOMPARE(failed.success, false);
        QCOMPARE(failed.message, QString());
        QCOMPARE(ended.success, true);
        QCOMPARE(ended.message, QStringLiteral("CAST_OFF"));
        QCOMPARE(out.lines().count("Ping failed2.."), 1);
        QCOMPARE(out.lines().count("Ping succeeded..Optional(\"CAST_OFF\")"), 1);

        // The silent receiver's request ends after 60 s without a byte, reporting nothing.
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 3, 75000);
        const qint64 endedAfter = clock.elapsed();
        QVERIFY2(endedAfter >= 59000, qPrintable(QString::number(endedAfter)));
        QTRY_COMPARE_WITH_TIMEOUT(clock.elapsed() >= 61000, true, 5000);
        QCoreApplication::processEvents();
        QCOMPARE(nothing.count, 0);
        QCOMPARE(out.lines().size(), 6); // the two answers' three lines each, nothing more
        QCOMPARE(silent.requests().size(), 1);
    }
};

QTEST_GUILESS_MAIN(SlowAnswersTest)
#include "tst_slow_answers.moc"
