// Without an X display the XTest backend says so once and the touch handling goes on.
#include "HelperProcess.h"

#include <QTest>

class TestXTestNoDisplay : public QObject
{
    Q_OBJECT
private slots:
    void warnsOnceAndKeepsRunning()
    {
        qunsetenv("DISPLAY");
        qputenv("QT_QPA_PLATFORM", "offscreen");
        const HelperResult result = runHelper(QStringLiteral(XTEST_NO_DISPLAY_HELPER), {});
        QVERIFY2(!result.crashed(), result.standardError.constData());
        QCOMPARE(result.exitCode, 0);
        const QByteArray warning
            = "orventa.input: No X display: touch events cannot be posted, touchback is off\n";
        QCOMPARE(result.standardError.count(warning), 1);
        QVERIFY2(!result.standardError.contains("Fatal error"), result.standardError.constData());
        QCOMPARE(result.standardOutput,
            QByteArray("::: Mouse Down\n::: Mouse Up\n::: Double Click distance 0.0\n"
                       "::: Double Click\nstill running\n"));
    }
};

QTEST_GUILESS_MAIN(TestXTestNoDisplay)
#include "tst_xtest_no_display.moc"
