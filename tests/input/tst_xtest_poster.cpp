// Touch reports posted with XTest on a real X server arrive as the X events a user would make.
#include "RawEventObserver.h"
#include "StdoutCapture.h"
#include "input/MouseSimulate.h"
#include "platform/x11/XTestEventPoster.h"

#include <QApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QTest>
#include <QWidget>

#include <X11/keysym.h>

#include <cmath>

namespace {
using Type = RawEventObserver::Type;
using Events = QList<RawEventObserver::Event>;

QString describeAll(const Events& events)
{
    QStringList parts;
    for (const auto& event : events)
        parts << QStringLiteral("%1(%2)").arg(typeName(event.type)).arg(event.detail);
    return parts.join(QStringLiteral(", "));
}

// Keeps the mouse events a window receives.
class ClickTarget : public QWidget
{
public:
    QList<QEvent::Type> types;
    QList<QPoint> globalPositions;

protected:
    void mousePressEvent(QMouseEvent* event) override { record(event); }
    void mouseReleaseEvent(QMouseEvent* event) override { record(event); }
    void mouseDoubleClickEvent(QMouseEvent* event) override { record(event); }

private:
    void record(QMouseEvent* event)
    {
        types.append(event->type());
        globalPositions.append(event->globalPosition().toPoint());
    }
};

QString touch(double pixels, double extent)
{
    return QString::number(pixels / extent * 32767.0, 'f', 6);
}
} // namespace

#define COMPARE_EVENTS(actual, expected)                                                           \
    do {                                                                                           \
        const Events got = (actual);                                                               \
        const Events want = (expected);                                                            \
        QVERIFY2(got == want,                                                                      \
            qPrintable(                                                                            \
                QStringLiteral("got [%1]\nwant [%2]").arg(describeAll(got), describeAll(want))));  \
    } while (false)

class TestXTestPoster : public QObject
{
    Q_OBJECT

    RawEventObserver* observer = nullptr;
    MouseSimulate* simulate = nullptr;

    void report(const char* event, const QString& x, const QString& y)
    {
        simulate->initiateMouseEvent(QString::fromUtf8(event), x, y, QStringLiteral("0"));
    }

private slots:
    void initTestCase()
    {
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("xcb"));
        QVERIFY(installXTestEventPoster().usesApplicationConnection());
    }

    // Also run with QT_SCALE_FACTOR=2: logical points become device pixels.
    void pointsBecomePixelsThroughTheDevicePixelRatio()
    {
        const qreal ratio = QGuiApplication::primaryScreen()->devicePixelRatio();
        QCOMPARE(ratio, qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1")).toDouble());
        const std::optional<QSizeF> size = MouseEventPoster::defaultPoster()->mainScreenSize();
        QCOMPARE(size, QSizeF(1440 / ratio, 900 / ratio));

        report("MOVE", QStringLiteral("8192"), QStringLiteral("16384"));
        COMPARE_EVENTS(observer->readUntil(Type::Motion, 1), (Events {{Type::Motion, 0}}));
        const QPointF point((8192 / 32767.0) * size->width(), size->height() * (16384 / 32767.0));
        QCOMPARE(observer->pointer(),
            QPoint(int(std::floor(point.x() * ratio)), int(std::floor(point.y() * ratio))));
        QCOMPARE(observer->pointer(), QPoint(360, 450));
    }

    void init()
    {
        observer = new RawEventObserver;
        QVERIFY(observer->isValid());
        simulate = new MouseSimulate;
    }

    void cleanup()
    {
        delete simulate;
        delete observer;
    }

    void downDragUpArriveInOrderAtThePixels()
    {
        StdoutCapture out;
        // 8192 / 32767 of 1440 x 900 is (360.01, 225.01): X pixel (360, 225).
        report("DOWN", "8192", "8192");
        COMPARE_EVENTS(
            observer->readUntil(Type::Press, 1), (Events {{Type::Motion, 0}, {Type::Press, 1}}));
        QCOMPARE(observer->pointer(), QPoint(360, 225));

        report("MOVE", "16384", "24576");
        COMPARE_EVENTS(observer->readUntil(Type::Motion, 1), (Events {{Type::Motion, 0}}));
        QCOMPARE(observer->pointer(), QPoint(720, 675));

        report("UP", "24576", "24576");
        COMPARE_EVENTS(observer->readUntil(Type::Release, 1),
            (Events {{Type::Motion, 0}, {Type::Release, 1}}));
        QCOMPARE(observer->pointer(), QPoint(1080, 675));
        QCOMPARE(out.lines(), (QByteArrayList {"::: Mouse Down", "::: Mouse Up"}));
        // Nothing else was posted.
        QVERIFY(observer->readFor(100).isEmpty());
    }

    void secondTapArrivesAsTheDoubleClickSequence()
    {
        StdoutCapture out;
        report("DOWN", "4096", "4096"); // (180.02, 112.51): pixel (180, 112)
        report("UP", "4096", "4096");
        COMPARE_EVENTS(observer->readUntil(Type::Release, 1),
            (Events {{Type::Motion, 0}, {Type::Press, 1}, {Type::Motion, 0}, {Type::Release, 1}}));
        report("DOWN", "4096", "4096");
        report("UP", "4096", "4096");
        // The second DOWN presses the button; the double-click sequence follows with press,
        // release, press, release, each preceded by the move to its point.
        const Events press {{Type::Motion, 0}, {Type::Press, 1}};
        const Events release {{Type::Motion, 0}, {Type::Release, 1}};
        COMPARE_EVENTS(
            observer->readUntil(Type::Release, 2), press + press + release + press + release);
        QVERIFY(observer->readFor(100).isEmpty());
        QCOMPARE(observer->pointer(), QPoint(180, 112));
        QCOMPARE(out.lines(),
            (QByteArrayList {"::: Mouse Down", "::: Mouse Up", "::: Mouse Down",
                "::: Double Click distance 0.0", "::: Double Click"}));
    }

    void aWindowUnderThePointerSeesADoubleClick()
    {
        ClickTarget target;
        target.setGeometry(200, 150, 400, 300);
        target.show();
        QVERIFY(QTest::qWaitForWindowExposed(&target));
        const QPoint centre = target.mapToGlobal(QPoint(200, 150));
        const QString x = touch(centre.x() + 0.5, 1440);
        const QString y = touch(centre.y() + 0.5, 900);

        report("DOWN", x, y);
        report("UP", x, y);
        report("DOWN", x, y);
        report("UP", x, y);
        QTRY_VERIFY_WITH_TIMEOUT(target.types.contains(QEvent::MouseButtonDblClick), 5000);
        // Press and release of the first tap; the second DOWN is the double click; the posted
        // sequence's first press finds the button already down, then release, press, release.
        const QList<QEvent::Type> expected {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
            QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease, QEvent::MouseButtonPress,
            QEvent::MouseButtonRelease};
        QTRY_COMPARE_WITH_TIMEOUT(target.types, expected, 5000);
        for (const QPoint& position : std::as_const(target.globalPositions))
            QCOMPARE(position, centre);
    }

    void rightClickHoldsTheModifierKeysAroundTheClick()
    {
        simulate->rightClick(QPointF(300.5, 200.25));
        const int control = observer->keyCode(XK_Control_L);
        const int shift = observer->keyCode(XK_Shift_L);
        QVERIFY(control != 0 && shift != 0);
        COMPARE_EVENTS(observer->readUntil(Type::KeyUp, 2),
            (Events {{Type::KeyDown, control}, {Type::KeyDown, shift}, {Type::KeyUp, control},
                {Type::Motion, 0}, {Type::Press, 1}, {Type::Motion, 0}, {Type::Release, 1},
                {Type::KeyUp, shift}}));
        QCOMPARE(observer->pointer(), QPoint(300, 200));
    }

    void leftClickPressesAndReleases()
    {
        simulate->leftClick(QPointF(50, 60));
        COMPARE_EVENTS(observer->readUntil(Type::Release, 1),
            (Events {{Type::Motion, 0}, {Type::Press, 1}, {Type::Motion, 0}, {Type::Release, 1}}));
        QCOMPARE(observer->pointer(), QPoint(50, 60));
    }

    void theMainScreenIsTheScreenOfTheShownWindow()
    {
        QWidget window;
        window.setGeometry(10, 10, 100, 100);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(MouseEventPoster::defaultPoster()->mainScreenSize(),
            QSizeF(window.screen()->geometry().size()));
    }
};

QTEST_MAIN(TestXTestPoster)
#include "tst_xtest_poster.moc"
