// The fatal errors of the mouse synthesiser end the process with their reason on stderr.
#include "HelperProcess.h"

#include <QTest>

class TestMouseSimulateFatal : public QObject
{
    Q_OBJECT
private slots:
    void endsTheProcess_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QByteArray>("reason");
        QTest::newRow("no main screen")
            << "no-screen" << QByteArray("there is no main screen to map the touch onto");
        QTest::newRow("down not created")
            << "create-down" << QByteArray("could not create a left-mouse-down event to post");
        QTest::newRow("drag not created")
            << "create-drag" << QByteArray("could not create a left-mouse-dragged event to post");
        QTest::newRow("first release not created")
            << "create-first-up" << QByteArray("could not create a left-mouse-up event to post");
        QTest::newRow("late release not created")
            << "create-late-up" << QByteArray("could not create a left-mouse-up event to post");
        QTest::newRow("double click not created")
            << "create-double-click"
            << QByteArray("could not create a left-mouse-down event to post");
        QTest::newRow("left click not created")
            << "create-left-click" << QByteArray("could not create a left-mouse-up event to post");
        QTest::newRow("clock not finite")
            << "clock-nan"
            << QByteArray("the clock value nan ms does not fit a 64-bit millisecond count");
        QTest::newRow("clock out of range")
            << "clock-range"
            << QByteArray("the clock value 1e+20 ms does not fit a 64-bit millisecond count");
        QTest::newRow("elapsed overflow")
            << "elapsed-overflow" << QByteArray("the time since the last release overflows");
    }

    void endsTheProcess()
    {
        QFETCH(QString, mode);
        QFETCH(QByteArray, reason);
        const HelperResult result = runHelper(QStringLiteral(MOUSE_SIMULATE_FATAL_HELPER), {mode});
        QVERIFY2(result.crashed(), result.standardOutput.constData());
        QCOMPARE(result.standardError, "Fatal error: " + reason + '\n');
        QVERIFY(!result.standardOutput.contains("survived"));
    }
};

QTEST_GUILESS_MAIN(TestMouseSimulateFatal)
#include "tst_mouse_simulate_fatal.moc"
