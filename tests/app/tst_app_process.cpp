// The application binary as a user starts it: closing its one window quits it, during the
// splash screen and later; without a display it says how to run it.
#include "AddressSanitizer.h"
#include "HelperProcess.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

class TestAppProcess : public QObject
{
    Q_OBJECT

    static QString app() { return QStringLiteral(ORVENTA_APP_BINARY); }
    static QString closer() { return QStringLiteral(CLOSE_WINDOW_HELPER); }

private Q_SLOTS:
    void closingTheWindowDuringTheSplashQuits()
    {
#if defined(ORVENTA_ADDRESS_SANITIZER)
        // The splash lasts 2 s from start; an instrumented start alone can take that long, so
        // there is no splash left to close. The uninstrumented suite checks this.
        QSKIP("the start under AddressSanitizer outlasts the splash");
#endif
        QProcess process;
        QElapsedTimer clock;
        clock.start();
        process.start(app(), {});
        QVERIFY(process.waitForStarted());
        const HelperResult closed
            = runHelper(closer(), {QStringLiteral("ORVENTA Companion"), QStringLiteral("1500")});
        QCOMPARE(closed.exitCode, 0);
        QVERIFY2(clock.elapsed() < 1900, "the window was closed after the splash");
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
        QVERIFY2(clock.elapsed() < 2000 + 1000, "quit at once, not after the timed step");
        QVERIFY(!process.readAllStandardError().contains("Fatal"));
    }

    void closingTheWindowOnTheDashboardQuits()
    {
        QProcess process;
        process.start(app(), {});
        QVERIFY(process.waitForStarted());
        // Past the splash: the process keeps running on the dashboard.
        QVERIFY(!process.waitForFinished(2600));
        const HelperResult closed = runHelper(closer(), {QStringLiteral("ORVENTA Companion")});
        QCOMPARE(closed.exitCode, 0);
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
    }

    void withoutADisplayItExplains()
    {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove(QStringLiteral("DISPLAY"));
        env.remove(QStringLiteral("WAYLAND_DISPLAY"));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        process.setProcessEnvironment(env);
        process.start(app(), {});
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 1);
        QVERIFY(process.readAllStandardError().contains("no display found"));
    }
};

QTEST_GUILESS_MAIN(TestAppProcess)
#include "tst_app_process.moc"
