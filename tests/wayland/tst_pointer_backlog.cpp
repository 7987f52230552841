// A desktop slower than the touches: thousands of motions between a press and a release, all
// posted at once. Motions may be dropped (the newest position is kept), the release never, so
// the button is up at the end. Run inside tests/support/with-kwin (the portal, one call at a
// time) and with-sway (the virtual pointer).
#include "LogCapture.h"
#include "PointerObserver.h"

#include "app/Backends.h"
#include "app/DesktopEventPoster.h"
#include "input/MouseSimulate.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

class TestPointerBacklog : public QObject
{
    Q_OBJECT
private slots:
    void releaseArrivesAfterAFlood()
    {
        PointerObserver observer;
        QVERIFY2(observer.start(), qPrintable(observer.log()));
        QTest::qWait(600); // the window finishes appearing (see tst_wayland_posting)

        LogCapture log;
        Backends::installEventPoster();
        auto* poster = dynamic_cast<DesktopEventPoster*>(MouseEventPoster::defaultPoster());
        QVERIFY(poster);
        QSignalSpy chosen(poster, &DesktopEventPoster::backendChosen);
        MouseSimulate simulate;
        simulate.prepare();
        QVERIFY(chosen.wait(15000));
        // The session is up once a first motion arrives.
        simulate.initiateMouseEvent(u"MOVE", u"8000", u"8000", 0);
        QVERIFY2(QTest::qWaitFor([&] { return !observer.events().isEmpty(); }, 15000),
            qPrintable(observer.log() + log.entries().join(u'\n')));

        constexpr int kMotions = 5000;
        simulate.initiateMouseEvent(u"DOWN", u"8000", u"8000", 0);
        for (int i = 0; i < kMotions; ++i) {
            const QString x = QString::number(8000 + (i % 2000) * 4);
            simulate.initiateMouseEvent(u"MOVE", x, u"12000", 0);
        }
        simulate.initiateMouseEvent(u"UP", u"20000", u"20000", 0);

        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         const QList<PointerObserver::Event> buttons = observer.buttons();
                         return !buttons.isEmpty() && buttons.last().kind == u"released";
                     },
                     60000),
            qPrintable(log.entries().join(u'\n')));
        QTest::qWait(300); // nothing more may arrive
        const QList<PointerObserver::Event> buttons = observer.buttons();
        QCOMPARE(buttons.size(), 2);
        QCOMPARE(buttons.first().kind, QStringLiteral("pressed"));
        QCOMPARE(buttons.last().kind, QStringLiteral("released"));
        // Released where the last report said.
        QVERIFY2(std::abs(buttons.last().at.x() - 20000 / 32767.0 * 1440) <= 1.0
                && std::abs(buttons.last().at.y() - 20000 / 32767.0 * 900) <= 1.0,
            qPrintable(observer.log()));
        const QStringList lines = log.messages("orventa.input");
        // Dropping, when it happened, was said once as it began and once when it ended.
        const qsizetype began = lines.filter(QStringLiteral("dropping motions")).size();
        QVERIFY2(began <= 1, qPrintable(lines.join(u'\n')));
        QCOMPARE(lines.filter(QStringLiteral("The desktop caught up")).size(), began);
        qInfo() << "motions seen by the window:" << observer.events().size() << "of" << kMotions
                << "; dropping reported:" << began;
    }
};

QTEST_MAIN(TestPointerBacklog)
#include "tst_pointer_backlog.moc"
