// The mouse synthesiser's decisions, with a recording poster and a clock that stands still.
#include "LogCapture.h"
#include "ManualClock.h"
#include "RecordingEventPoster.h"
#include "StdoutCapture.h"
#include "input/CoordinateParser.h"
#include "input/MouseSimulate.h"

#include <QTest>

#include <cmath>
#include <limits>

namespace {
using Kind = MouseEventKind;
using Entries = QList<RecordingEventPoster::Entry>;

QString describeAll(const Entries& entries)
{
    QStringList parts;
    for (const auto& entry : entries)
        parts << describe(entry);
    return parts.join(QStringLiteral(", "));
}

// The point a touch maps to on the 1440 x 900 screen, computed the same way on purpose.
QPointF mapped(double x, double y)
{
    return QPointF((x / 32767.0) * 1440.0, 900.0 * (y / 32767.0));
}
} // namespace

#define COMPARE_ENTRIES(actual, expected)                                                          \
    QVERIFY2((actual) == (expected),                                                               \
        qPrintable(QStringLiteral("got [%1]\nwant [%2]")                                           \
                       .arg(describeAll(actual), describeAll(expected))))

class TestMouseSimulate : public QObject
{
    Q_OBJECT

    RecordingEventPoster* poster = nullptr;
    ManualClock* clock = nullptr;
    MouseSimulate* simulate = nullptr;
    StdoutCapture* out = nullptr;

    void report(const char* event, const char* x, const char* y)
    {
        simulate->initiateMouseEvent(QString::fromUtf8(event), QString::fromUtf8(x),
            QString::fromUtf8(y), QStringLiteral("1700000000000"));
    }

    // A first tap that leaves a release pending at the given touch position.
    void firstTap(const char* x, const char* y)
    {
        report("DOWN", x, y);
        report("UP", x, y);
        QCOMPARE(simulate->singleClickCount(), 1);
        poster->clear();
        out->clear();
    }

private slots:
    void init()
    {
        poster = new RecordingEventPoster;
        clock = new ManualClock(poster);
        simulate = new MouseSimulate(*poster, *clock);
        out = new StdoutCapture;
    }

    void cleanup()
    {
        delete out;
        delete simulate;
        delete clock;
        delete poster;
    }

    void startsWithTheStatedValues()
    {
        QCOMPARE(simulate->kDelayUSec(), 500000u);
        QCOMPARE(simulate->property("kDelayUSec").toUInt(), 500000u);
        QCOMPARE(simulate->mouseDownPoint(), QPointF(0, 0));
        QCOMPARE(simulate->mouseUpPoint(), QPointF(0, 0));
        QCOMPARE(simulate->mouseDownTime(), 0);
        QCOMPARE(simulate->mouseUpTime(), 0);
        QCOMPARE(simulate->singleClickCount(), 0);
        QCOMPARE(simulate->rightClickCount(), 0);
    }

    void downMapsTheTouchOntoTheMainScreen()
    {
        clock->setMilliseconds(1700000000123);
        report("DOWN", "16384", "16384");

        const QList<MouseEvent> events = poster->mouseEvents();
        QCOMPARE(events.size(), 1);
        QCOMPARE(events[0].kind, Kind::LeftDown);
        // Exact doubles: no rounding anywhere between the touch and the posted point.
        QVERIFY(events[0].point.x() == 16384 / 32767.0 * 1440);
        QVERIFY(events[0].point.y() == 900 * (16384 / 32767.0));
        QCOMPARE(qRound(events[0].point.x() * 100), 72002);
        QCOMPARE(qRound(events[0].point.y() * 100), 45001);
        QCOMPARE(out->lines(), QByteArrayList {"::: Mouse Down"});
        QCOMPARE(simulate->mouseDownTime(), 1700000000123);
        QVERIFY(simulate->mouseDownPoint().x() == events[0].point.x());
        QVERIFY(simulate->mouseDownPoint().y() == events[0].point.y());
        QCOMPARE(simulate->singleClickCount(), 0);
    }

    void downThenUpAtOnePlaceOpensAClickSequence()
    {
        clock->setMilliseconds(1700000000000);
        report("DOWN", "1000", "2000");
        clock->advanceMilliseconds(40);
        report("UP", "1000", "2000");

        const Entries expected {mouseEntry(Kind::LeftDown, mapped(1000, 2000)),
            mouseEntry(Kind::LeftUp, mapped(1000, 2000))};
        COMPARE_ENTRIES(poster->entries(), expected);
        QCOMPARE(out->lines(), (QByteArrayList {"::: Mouse Down", "::: Mouse Up"}));
        QCOMPARE(simulate->singleClickCount(), 1);
        QCOMPARE(simulate->mouseUpTime(), 1700000000040);
        QCOMPARE(simulate->mouseUpPoint(), mapped(1000, 2000));
    }

    void secondTapSoonAndCloseIsADoubleClick()
    {
        // 10 points apart on the screen: 10 / 1440 of the touch width.
        simulate->mouseUp(QPointF(100, 300), 0);
        poster->clear();
        out->clear();
        const qint64 firstUpTime = simulate->mouseUpTime();
        clock->advanceMilliseconds(300);

        simulate->mouseDown(QPointF(110, 300));
        simulate->mouseUp(QPointF(110, 300), 0);

        const Entries expected {mouseEntry(Kind::LeftDown, {110, 300}),
            mouseEntry(Kind::LeftDown, {110, 300}, 1), mouseEntry(Kind::LeftUp, {110, 300}, 1),
            sleepEntry(1000), mouseEntry(Kind::LeftDown, {110, 300}, 2),
            mouseEntry(Kind::LeftUp, {110, 300}, 2)};
        COMPARE_ENTRIES(poster->entries(), expected);
        QCOMPARE(out->lines(),
            (QByteArrayList {
                "::: Mouse Down", "::: Double Click distance 10.0", "::: Double Click"}));
        QCOMPARE(simulate->singleClickCount(), 0);
        QCOMPARE(simulate->mouseUpPoint(), QPointF(100, 300));
        QCOMPARE(simulate->mouseUpTime(), firstUpTime);
    }

    void secondTapThroughReportsIsADoubleClick()
    {
        firstTap("16384", "16384");
        clock->advanceMilliseconds(300);
        report("DOWN", "16400", "16384");
        report("UP", "16400", "16384");
        const QPointF p = mapped(16400, 16384);
        const Entries expected {mouseEntry(Kind::LeftDown, p), mouseEntry(Kind::LeftDown, p, 1),
            mouseEntry(Kind::LeftUp, p, 1), sleepEntry(1000), mouseEntry(Kind::LeftDown, p, 2),
            mouseEntry(Kind::LeftUp, p, 2)};
        COMPARE_ENTRIES(poster->entries(), expected);
        const QPointF first = mapped(16384, 16384);
        const float distance = std::hypotf(float(first.x() - p.x()), float(first.y() - p.y()));
        QVERIFY(distance > 0.7f && distance < 0.71f);
        QCOMPARE(out->lines().at(1),
            "::: Double Click distance " + MouseSimulate::formatDistance(distance).toLatin1());
        QCOMPARE(out->lines().at(2), "::: Double Click");
    }

    void secondTapLateIsAPlainRelease()
    {
        simulate->mouseUp(QPointF(100, 300), 0);
        const qint64 firstUpTime = simulate->mouseUpTime();
        poster->clear();
        out->clear();
        clock->advanceMilliseconds(900);

        simulate->mouseUp(QPointF(105, 300), 0);
        COMPARE_ENTRIES(poster->entries(), Entries {mouseEntry(Kind::LeftUp, {105, 300})});
        QCOMPARE(out->lines(), QByteArrayList {"::: Mouse Up 1"});
        QCOMPARE(simulate->singleClickCount(), 0);
        QCOMPARE(simulate->mouseUpPoint(), QPointF(105, 300));
        QCOMPARE(simulate->mouseUpTime(), firstUpTime);

        // The third tap opens a new sequence.
        clock->advanceMilliseconds(100);
        simulate->mouseUp(QPointF(105, 300), 0);
        QCOMPARE(out->lines().last(), "::: Mouse Up");
        QCOMPARE(simulate->singleClickCount(), 1);
    }

    void secondTapFarAwayIsDropped()
    {
        simulate->mouseUp(QPointF(100, 300), 0);
        const qint64 firstUpTime = simulate->mouseUpTime();
        poster->clear();
        out->clear();
        clock->advanceMilliseconds(300);

        simulate->mouseDown(QPointF(180, 300));
        simulate->mouseUp(QPointF(180, 300), 0);
        COMPARE_ENTRIES(poster->entries(), Entries {mouseEntry(Kind::LeftDown, {180, 300})});
        QCOMPARE(
            out->lines(), (QByteArrayList {"::: Mouse Down", "::: Double Click distance 80.0"}));
        QCOMPARE(simulate->singleClickCount(), 0);
        QCOMPARE(simulate->mouseUpPoint(), QPointF(100, 300));
        QCOMPARE(simulate->mouseUpTime(), firstUpTime);
    }

    void timeLimitIsInclusive_data()
    {
        QTest::addColumn<qint64>("elapsed");
        QTest::addColumn<bool>("doubleClick");
        QTest::newRow("0 ms") << qint64(0) << true;
        QTest::newRow("800 ms") << qint64(800) << true;
        QTest::newRow("801 ms") << qint64(801) << false;
        QTest::newRow("minutes") << qint64(5 * 60 * 1000) << false;
    }

    void timeLimitIsInclusive()
    {
        QFETCH(qint64, elapsed);
        QFETCH(bool, doubleClick);
        clock->setMilliseconds(1700000000000);
        simulate->mouseUp(QPointF(10, 10), 0);
        out->clear();
        poster->clear();
        clock->setMilliseconds(1700000000000 + elapsed);
        simulate->mouseUp(QPointF(10, 10), 0);
        const QPointF p(10, 10);
        if (doubleClick) {
            QCOMPARE(out->lines(),
                (QByteArrayList {"::: Double Click distance 0.0", "::: Double Click"}));
            const Entries expected {mouseEntry(Kind::LeftDown, p, 1),
                mouseEntry(Kind::LeftUp, p, 1), sleepEntry(1000), mouseEntry(Kind::LeftDown, p, 2),
                mouseEntry(Kind::LeftUp, p, 2)};
            COMPARE_ENTRIES(poster->entries(), expected);
        } else {
            QCOMPARE(out->lines(), QByteArrayList {"::: Mouse Up 1"});
            // A plain up: one left-up at the point, with no click count of its own.
            COMPARE_ENTRIES(poster->entries(), Entries {mouseEntry(Kind::LeftUp, p)});
        }
    }

    void distanceLimitIsInclusiveInSinglePrecision_data()
    {
        QTest::addColumn<QPointF>("second");
        QTest::addColumn<QByteArray>("distanceLine");
        QTest::addColumn<bool>("doubleClick");
        QTest::newRow("exactly 50") << QPointF(30, 40) << QByteArray("50.0") << true;
        // 50.000001 narrows to 50.0f: the comparison is made in single precision.
        QTest::newRow("50.000001") << QPointF(50.000001, 0) << QByteArray("50.0") << true;
        QTest::newRow("50.00001") << QPointF(50.00001, 0) << QByteArray("50.00001") << false;
        QTest::newRow("80") << QPointF(0, 80) << QByteArray("80.0") << false;
        QTest::newRow("fraction") << QPointF(0.1, 0) << QByteArray("0.1") << true;
    }

    void distanceLimitIsInclusiveInSinglePrecision()
    {
        QFETCH(QPointF, second);
        QFETCH(QByteArray, distanceLine);
        QFETCH(bool, doubleClick);
        simulate->mouseUp(QPointF(0, 0), 0);
        poster->clear();
        out->clear();
        clock->advanceMilliseconds(100);
        simulate->mouseUp(second, 0);
        QByteArrayList expected {"::: Double Click distance " + distanceLine};
        if (doubleClick)
            expected << "::: Double Click";
        QCOMPARE(out->lines(), expected);
        QCOMPARE(poster->mouseEvents().size(), doubleClick ? 4 : 0);
    }

    void namesOutsideTheVocabularyPostNothing_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : {"up", "Up", " UP", "UP ", "down", "Move", "", "CLICK"})
            QTest::newRow(name) << QString::fromUtf8(name);
    }

    void namesOutsideTheVocabularyPostNothing()
    {
        QFETCH(QString, name);
        simulate->setSingleClickCount(1);
        simulate->initiateMouseEvent(name, QStringLiteral("100"), QStringLiteral("200"), qint64(0));
        QVERIFY(poster->entries().isEmpty());
        QVERIFY(out->lines().isEmpty());
        QCOMPARE(simulate->singleClickCount(), 1);
        // The coordinates were still parsed and mapped, which asks for the screen.
        QCOMPARE(poster->screenQueries(), 1);
    }

    void unparsableCoordinatesDropTheReport_data()
    {
        QTest::addColumn<QString>("x");
        QTest::addColumn<QString>("y");
        QTest::newRow("x abc") << QStringLiteral("abc") << QStringLiteral("100");
        QTest::newRow("y empty") << QStringLiteral("100") << QString();
        QTest::newRow("x empty") << QString() << QStringLiteral("100");
        QTest::newRow("y blank") << QStringLiteral("100") << QStringLiteral(" ");
    }

    void unparsableCoordinatesDropTheReport()
    {
        QFETCH(QString, x);
        QFETCH(QString, y);
        for (const char* name : {"DOWN", "UP", "MOVE"}) {
            simulate->setSingleClickCount(1);
            simulate->initiateMouseEvent(QString::fromUtf8(name), x, y, qint64(0));
            QCOMPARE(simulate->singleClickCount(), 1);
        }
        QVERIFY(poster->entries().isEmpty());
        QVERIFY(out->lines().isEmpty());
        QCOMPARE(poster->screenQueries(), 0);
        QCOMPARE(simulate->mouseDownTime(), 0);
    }

    void moveWithoutDownStillDrags()
    {
        report("MOVE", "8000", "9000");
        COMPARE_ENTRIES(
            poster->entries(), Entries {mouseEntry(Kind::LeftDragged, mapped(8000, 9000))});
        QVERIFY(out->lines().isEmpty());
        QCOMPARE(simulate->singleClickCount(), 0);
    }

    void upUpAtOnePlaceIsReleaseThenDoubleClick()
    {
        report("UP", "500", "600");
        clock->advanceMilliseconds(20);
        report("UP", "500", "600");
        const QPointF p = mapped(500, 600);
        const Entries expected {mouseEntry(Kind::LeftUp, p), mouseEntry(Kind::LeftDown, p, 1),
            mouseEntry(Kind::LeftUp, p, 1), sleepEntry(1000), mouseEntry(Kind::LeftDown, p, 2),
            mouseEntry(Kind::LeftUp, p, 2)};
        COMPARE_ENTRIES(poster->entries(), expected);
        QCOMPARE(out->lines(),
            (QByteArrayList {"::: Mouse Up", "::: Double Click distance 0.0", "::: Double Click"}));
        QCOMPARE(simulate->singleClickCount(), 0);
    }

    void aForeignClickCountSwallowsEveryRelease()
    {
        simulate->setSingleClickCount(2);
        for (int i = 0; i < 3; ++i) {
            clock->advanceMilliseconds(1000);
            report("UP", "100", "100");
        }
        QVERIFY(poster->entries().isEmpty());
        QVERIFY(out->lines().isEmpty());
        QCOMPARE(simulate->singleClickCount(), 2);
        QCOMPARE(simulate->mouseUpTime(), 0);

        // DOWN and MOVE are not affected.
        report("DOWN", "100", "100");
        report("MOVE", "100", "100");
        QCOMPARE(poster->mouseEvents().size(), 2);

        simulate->setSingleClickCount(0);
        report("UP", "100", "100");
        QCOMPARE(out->lines().last(), "::: Mouse Up");
        QCOMPARE(simulate->singleClickCount(), 1);
    }

    void touchSpaceCornersMapOntoTheScreenEdges()
    {
        report("MOVE", "32767", "0");
        report("MOVE", "0", "0");
        report("MOVE", "32767", "32767");
        const QList<MouseEvent> events = poster->mouseEvents();
        QVERIFY(events[0].point.x() == 1440.0 && events[0].point.y() == 0.0);
        QVERIFY(events[1].point.x() == 0.0 && events[1].point.y() == 0.0);
        QVERIFY(events[2].point.x() == 1440.0 && events[2].point.y() == 900.0);
    }

    void outOfRangeTouchesScaleBeyondTheScreen()
    {
        report("MOVE", "-32767", "65534");
        const QList<MouseEvent> events = poster->mouseEvents();
        QVERIFY(events[0].point.x() == -1440.0 && events[0].point.y() == 1800.0);
    }

    void fractionalCoordinatesKeepTheirFraction()
    {
        report("MOVE", "16383.5", "+0.25");
        const QList<MouseEvent> events = poster->mouseEvents();
        QVERIFY(events[0].point.x() == (16383.5 / 32767.0) * 1440);
        QVERIFY(events[0].point.y() == 900 * (0.25 / 32767.0));
    }

    void theScreenIsAskedOnEveryReport()
    {
        poster->screenSize = QSizeF(1920, 1080);
        report("MOVE", "32767", "32767");
        poster->screenSize = QSizeF(800, 600);
        report("MOVE", "32767", "32767");
        const QList<MouseEvent> events = poster->mouseEvents();
        QCOMPARE(events[0].point, QPointF(1920, 1080));
        QCOMPARE(events[1].point, QPointF(800, 600));
        QCOMPARE(poster->screenQueries(), 2);
    }

    void theReceiverTimestampIsNotUsed()
    {
        simulate->initiateMouseEvent(QStringLiteral("UP"), QStringLiteral("1"), QStringLiteral("1"),
            QStringLiteral("not a number"));
        clock->advanceMilliseconds(900);
        simulate->initiateMouseEvent(
            QStringLiteral("UP"), QStringLiteral("1"), QStringLiteral("1"), QStringLiteral("1"));
        QCOMPARE(out->lines(), (QByteArrayList {"::: Mouse Up", "::: Mouse Up 1"}));
    }

    void leftClickPressesWaitsAndReleases()
    {
        int createdBeforeFirstPost = -1;
        poster->afterPost = [&] {
            if (createdBeforeFirstPost < 0)
                createdBeforeFirstPost = poster->mouseCreations();
        };
        simulate->leftClick(QPointF(3, 4));
        COMPARE_ENTRIES(poster->entries(),
            (Entries {mouseEntry(Kind::LeftDown, {3, 4}), sleepEntry(100000),
                mouseEntry(Kind::LeftUp, {3, 4})}));
        QCOMPARE(createdBeforeFirstPost, 2);
        QVERIFY(out->lines().isEmpty());
    }

    void rightClickWrapsTheClickInTheModifierKey()
    {
        simulate->rightClick(QPointF(3, 4));
        COMPARE_ENTRIES(poster->entries(),
            (Entries {keyEntry(56, true, 0x40000), sleepEntry(50000),
                mouseEntry(Kind::LeftDown, {3, 4}), mouseEntry(Kind::LeftUp, {3, 4}),
                keyEntry(56, false, 0)}));
        QCOMPARE(simulate->rightClickCount(), 0);
        QVERIFY(out->lines().isEmpty());
    }

    void rightClickGoesOnWithoutItsKeyEvents()
    {
        poster->failKeyCreation = true;
        simulate->rightClick(QPointF(3, 4));
        COMPARE_ENTRIES(poster->entries(),
            (Entries {sleepEntry(50000), mouseEntry(Kind::LeftDown, {3, 4}),
                mouseEntry(Kind::LeftUp, {3, 4})}));
    }

    void aReleaseThatIsNotPostedMayFailToBeCreated()
    {
        poster->failingMouseKinds = {Kind::LeftUp};
        simulate->setSingleClickCount(2);
        simulate->mouseUp(QPointF(1, 1), 0); // swallowed
        simulate->setSingleClickCount(1);
        simulate->setMouseUpTime(clock->secondsSinceEpoch() * 1000);
        simulate->setMouseUpPoint(QPointF(500, 500));
        simulate->mouseUp(QPointF(1, 1), 0); // too far: dropped
        QVERIFY(poster->entries().isEmpty());
        QCOMPARE(out->lines().size(), 1);
    }

    void clockRoundsHalfAwayFromZero_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<qint64>("milliseconds");
        QTest::newRow("0.0625 s") << 0.0625 << qint64(63);
        QTest::newRow("-0.0625 s") << -0.0625 << qint64(-63);
        QTest::newRow("0.0624 s") << 0.0624 << qint64(62);
        QTest::newRow("1700000000.1234 s") << 1700000000.1234 << qint64(1700000000123);
    }

    void clockRoundsHalfAwayFromZero()
    {
        QFETCH(double, seconds);
        QFETCH(qint64, milliseconds);
        clock->setSeconds(seconds);
        simulate->mouseDown(QPointF(0, 0));
        QCOMPARE(simulate->mouseDownTime(), milliseconds);
    }

    void distanceIsWrittenAsShortestFloat_data()
    {
        QTest::addColumn<float>("distance");
        QTest::addColumn<QString>("text");
        QTest::newRow("10") << 10.0f << QStringLiteral("10.0");
        QTest::newRow("0") << 0.0f << QStringLiteral("0.0");
        QTest::newRow("0.1") << 0.1f << QStringLiteral("0.1");
        QTest::newRow("12.34") << 12.34f << QStringLiteral("12.34");
        QTest::newRow("1/3") << (1.0f / 3.0f) << QStringLiteral("0.33333334");
        QTest::newRow("1e20") << 1e20f << QStringLiteral("1e+20");
        QTest::newRow("100000") << 100000.0f << QStringLiteral("100000.0");
        QTest::newRow("0.0001") << 0.0001f << QStringLiteral("0.0001");
        QTest::newRow("0.0005") << 0.0005f << QStringLiteral("0.0005");
        QTest::newRow("0.00001") << 0.00001f << QStringLiteral("1e-05");
        QTest::newRow("2^24") << 16777216.0f << QStringLiteral("16777216.0");
        QTest::newRow("2^24 + 2") << 16777218.0f << QStringLiteral("1.6777218e+07");
        QTest::newRow("inf") << std::numeric_limits<float>::infinity() << QStringLiteral("inf");
        QTest::newRow("nan") << std::numeric_limits<float>::quiet_NaN() << QStringLiteral("nan");
    }

    void distanceIsWrittenAsShortestFloat()
    {
        QFETCH(float, distance);
        QFETCH(QString, text);
        QCOMPARE(MouseSimulate::formatDistance(distance), text);
    }

    void defaultConstructedUsesTheInstalledPoster()
    {
        MouseSimulate fromDefault;
        RecordingEventPoster installed;
        MouseEventPoster::setDefault(&installed);
        fromDefault.initiateMouseEvent(QStringLiteral("MOVE"), QStringLiteral("32767"),
            QStringLiteral("32767"), QStringLiteral("0"));
        MouseEventPoster::setDefault(nullptr);
        COMPARE_ENTRIES(
            installed.entries(), Entries {mouseEntry(Kind::LeftDragged, QPointF(1440, 900))});
        QVERIFY(poster->entries().isEmpty());
    }

    void withoutABackendEventsAreDroppedWithOneWarning()
    {
        LogCapture log;
        MouseSimulate fromDefault;
        fromDefault.initiateMouseEvent(
            QStringLiteral("DOWN"), QStringLiteral("1"), QStringLiteral("1"), QStringLiteral("0"));
        fromDefault.initiateMouseEvent(
            QStringLiteral("UP"), QStringLiteral("1"), QStringLiteral("1"), QStringLiteral("0"));
        QCOMPARE(out->lines(), (QByteArrayList {"::: Mouse Down", "::: Mouse Up"}));
        QCOMPARE(log.messages("orventa.input"),
            QStringList {"No event backend installed: touch events cannot be posted"});
    }
};

class TestCoordinateParser : public QObject
{
    Q_OBJECT
private slots:
    void accepts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("value");
        QTest::newRow("integer") << QStringLiteral("16383") << 16383.0;
        QTest::newRow("zero") << QStringLiteral("0") << 0.0;
        QTest::newRow("negative") << QStringLiteral("-3") << -3.0;
        QTest::newRow("plus") << QStringLiteral("+7") << 7.0;
        QTest::newRow("decimal") << QStringLiteral("16383.75") << 16383.75;
        QTest::newRow("leading dot") << QStringLiteral(".5") << 0.5;
        QTest::newRow("trailing dot") << QStringLiteral("5.") << 5.0;
        QTest::newRow("leading zeros") << QStringLiteral("000123") << 123.0;
        QTest::newRow("long") << QStringLiteral("1").repeated(100)
                              << QStringLiteral("1").repeated(100).toDouble();
    }

    void accepts()
    {
        QFETCH(QString, text);
        QFETCH(double, value);
        const std::optional<double> parsed = CoordinateParser::parse(text);
        QVERIFY(parsed.has_value());
        QCOMPARE(*parsed, value);
    }

    void rejects_data()
    {
        QTest::addColumn<QString>("text");
        for (const char* text : {"", "abc", " 1", "1 ", "1,5", "1.000,5", "1e3", "1E3", "0x10",
                 "inf", "nan", "1.2.3", "-", "+", ".", "+-1", "--1", "12a"})
            QTest::newRow(text) << QString::fromUtf8(text);
        QTest::newRow("arabic digits") << QStringLiteral("\u0661\u0662");
        QTest::newRow("too large") << QStringLiteral("1").append(QString(400, u'0'));
    }

    void rejects()
    {
        QFETCH(QString, text);
        QVERIFY(!CoordinateParser::parse(text).has_value());
    }
};

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    int status = 0;
    {
        TestMouseSimulate test;
        status |= QTest::qExec(&test, argc, argv);
    }
    {
        TestCoordinateParser test;
        status |= QTest::qExec(&test, argc, argv);
    }
    return status;
}

#include "tst_mouse_simulate.moc"
