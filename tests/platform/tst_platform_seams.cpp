#include "AlertRecorder.h"
#include "HelperProcess.h"
#include "LogCapture.h"
#include "StdoutCapture.h"
#include "platform/Alerts.h"
#include "platform/CallbackBoundary.h"
#include "platform/Fonts.h"
#include "platform/MainQueue.h"
#include "platform/ModalState.h"
#include "platform/StdoutLine.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

#include <stdexcept>

using namespace std::chrono_literals;

class TestPlatformSeams : public QObject
{
    Q_OBJECT
private slots:
    void alertIsRecordedInsideAModalSession()
    {
        AlertRecorder recorder;
        bool activeWhileOpen = false;
        recorder.whileOpen = [&] { activeWhileOpen = ModalState::isActive(); };
        QSignalSpy started(ModalState::instance(), &ModalState::started);
        QSignalSpy ended(ModalState::instance(), &ModalState::ended);

        Alerts::run("Network error", "Touchback is disabled.");

        QCOMPARE(recorder.alerts().size(), 1);
        QCOMPARE(recorder.alerts().first().message, QStringLiteral("Network error"));
        QCOMPARE(
            recorder.alerts().first().informativeText, QStringLiteral("Touchback is disabled."));
        QVERIFY(activeWhileOpen);
        QVERIFY(!ModalState::isActive());
        QCOMPARE(started.size(), 1);
        QCOMPARE(ended.size(), 1);
    }

    void nestedModalSessionsEndOnce()
    {
        QSignalSpy ended(ModalState::instance(), &ModalState::ended);
        {
            ModalState::Scope outer;
            {
                ModalState::Scope inner;
            }
            QVERIFY(ModalState::isActive());
            QCOMPARE(ended.size(), 0);
        }
        QCOMPARE(ended.size(), 1);
    }

    void stdoutLinesAreTapped()
    {
        StdoutCapture capture;
        StdoutLine::print("::: Mouse Down");
        StdoutLine::print(QStringLiteral("statusCode: 200"));
        QCOMPARE(capture.lines(), (QByteArrayList {"::: Mouse Down", "statusCode: 200"}));
    }

    void delayedTaskRunsAfterItsDelayNotBefore()
    {
        QElapsedTimer clock;
        clock.start();
        qint64 ranAt = -1;
        MainQueue::after(200ms, [&] { ranAt = clock.elapsed(); });
        QCoreApplication::processEvents();
        QCOMPARE(ranAt, -1);
        QTRY_VERIFY_WITH_TIMEOUT(ranAt >= 0, 5000);
        QVERIFY2(ranAt >= 199, qPrintable(QString::number(ranAt)));
    }

    void delayedTaskIsDroppedWithItsContext()
    {
        bool ran = false;
        auto* context = new QObject;
        MainQueue::after(10ms, context, [&] { ran = true; });
        delete context;
        QTest::qWait(50);
        QVERIFY(!ran);
    }

    void callbackBoundaryLogsAnEscapedRangeErrorAndGoesOn()
    {
        LogCapture log;
        const bool ok = CallbackBoundary::invoke("resolving Brevik|Hall",
            [] { throw std::out_of_range("index 2 beyond bounds [0 .. 1]"); });
        QVERIFY(!ok);
        const QStringList lines = log.messages("orventa.platform");
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().startsWith("Uncaught exception ("), qPrintable(lines.first()));
        QVERIFY(lines.first().endsWith("in resolving Brevik|Hall: index 2 beyond bounds [0 .. 1]"));
        QVERIFY(CallbackBoundary::invoke("nothing", [] {}));
    }

    void fontNamesMapToFamilies()
    {
        QCOMPARE(Fonts::familyFor("Poppins-Regular"), QStringLiteral("Poppins"));
        QCOMPARE(Fonts::familyFor("Poppins-Medium"), QStringLiteral("Poppins Medium"));
        QCOMPARE(Fonts::familyFor("Poppins-SemiBold"), QStringLiteral("Poppins SemiBold"));
        QCOMPARE(Fonts::familyFor("Poppins-ExtraLight"), QStringLiteral("Poppins ExtraLight"));
        QCOMPARE(Fonts::named("Poppins-Regular", 16).pixelSize(), 16);
    }

    void fatalErrorPrintsItsReasonAndAborts()
    {
        const HelperResult result = runHelper(FATAL_ERROR_HELPER, {"receiver address missing"});
        QVERIFY(result.crashed());
        QCOMPARE(result.standardError, QByteArray("Fatal error: receiver address missing\n"));
        QCOMPARE(result.standardOutput, QByteArray("before\n"));
    }
};

QTEST_MAIN(TestPlatformSeams)
#include "tst_platform_seams.moc"
