// GNOME's remote desktop session needs PipeWire. Without it (tests/support/with-mutter
// --no-pipewire) the poster says so in words a user can act on, once, posts nothing and the
// application goes on.
#include "LogCapture.h"

#include "platform/wayland/MutterRemoteDesktopPoster.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

class TestMutterWithoutPipeWire : public QObject
{
    Q_OBJECT
private slots:
    void startFailureNamesPipeWire()
    {
        LogCapture log;
        MutterRemoteDesktopPoster poster;
        QSignalSpy failed(&poster, &MutterRemoteDesktopPoster::failed);
        poster.prepare();
        poster.postMouseEvent({MouseEventKind::LeftDown, QPointF(10, 10), 0});
        QVERIFY(failed.wait(10000));
        const QStringList warnings
            = log.messages("orventa.input").filter(QStringLiteral("PipeWire"));
        QCOMPARE(warnings.size(), 1);
        QVERIFY2(warnings.first().contains(QLatin1String("systemctl --user start pipewire")),
            qPrintable(warnings.first()));
        QVERIFY(!poster.isRunning());
        poster.postMouseEvent({MouseEventKind::LeftUp, QPointF(10, 10), 0});
        QTest::qWait(200);
        QCOMPARE(log.messages("orventa.input").filter(QStringLiteral("PipeWire")).size(), 1);
        // A failed session is not made anew per touch (only at the next touchback start).
        QCOMPARE(failed.size(), 1);
        QCOMPARE(log.messages("orventa.input").filter(QStringLiteral("made anew")).size(), 0);
    }
};

QTEST_MAIN(TestMutterWithoutPipeWire)
#include "tst_mutter_without_pipewire.moc"
