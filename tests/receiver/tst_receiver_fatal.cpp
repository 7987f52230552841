// The broken preconditions of the receiver requests end the process with a clear reason. Runs
// inside a private network namespace with a default route, so that the local address exists
// (see tests/support/with-netns-route).
#include "HelperProcess.h"
#include "NetnsShell.h"

#include <QTest>

class ReceiverFatalTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(insideTestNamespace(), "run through with-netns-route"); }

    void missingInputEndsTheProcess_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QByteArray>("reason");
        QTest::addColumn<QByteArray>("printed");
        QTest::newRow("ping") << "ping-nil" << QByteArray("heartbeat without a receiver address")
                              << QByteArray();
        QTest::newRow("touchback")
            << "touchback-nil" << QByteArray("touchback request without a receiver address")
            << QByteArray();
        QTest::newRow("cast") << "cast-nil" << QByteArray("cast trigger without a receiver address")
                              << QByteArray();
        QTest::newRow("upload ip")
            << "upload-nil-ip" << QByteArray("upload without a receiver address")
            << QByteArray("Uploading...\n");
        QTest::newRow("upload data") << "upload-nil-data" << QByteArray("upload without file data")
                                     << QByteArray("Uploading...\n");
        QTest::newRow("upload name")
            << "upload-nil-name" << QByteArray("upload without a file name")
            << QByteArray("Uploading...\n");
        QTest::newRow("upload type")
            << "upload-nil-type" << QByteArray("upload without a file type")
            << QByteArray("Uploading...\n");
        QTest::newRow("ping not UTF-8")
            << "ping-not-utf8" << QByteArray("the heartbeat answer is not UTF-8 text")
            << QByteArray("statusCode: 200\nPing succeeded..nil\n");
    }

    void missingInputEndsTheProcess()
    {
        QFETCH(QString, mode);
        QFETCH(QByteArray, reason);
        QFETCH(QByteArray, printed);
        const HelperResult result = runHelper(QStringLiteral(RECEIVER_HELPER), {mode});
        QVERIFY2(result.crashed(), result.standardOutput + result.standardError);
        QVERIFY2(result.standardError.contains("Fatal error: " + reason), result.standardError);
        QVERIFY(!result.standardOutput.contains("returned"));
        QVERIFY(!result.standardOutput.contains("handler"));
        QVERIFY2(result.standardOutput.endsWith(printed), result.standardOutput);
    }

    void withoutLocalAddressAMissingReceiverIsNotFatal()
    {
        QVERIFY(ipCommand(QStringLiteral("route del default")));
        const auto cleanup = qScopeGuard(
            [] { ipCommand(QStringLiteral("route add default via 10.99.0.1 dev d0")); });
        HelperResult result
            = runHelper(QStringLiteral(RECEIVER_HELPER), {QStringLiteral("ping-nil")});
        QVERIFY(!result.crashed());
        QCOMPARE(result.standardOutput, QByteArray("handler false\nreturned\n"));
        result = runHelper(QStringLiteral(RECEIVER_HELPER), {QStringLiteral("touchback-nil")});
        QVERIFY(!result.crashed());
        QCOMPARE(result.standardOutput, QByteArray("returned\n"));
    }
};

QTEST_GUILESS_MAIN(ReceiverFatalTest)
#include "tst_receiver_fatal.moc"
