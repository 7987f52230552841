// The queue every posting backend keeps while the desktop cannot take touches: order kept,
// motions dropped under backlog (newest position kept), presses and releases never.
#include "LogCapture.h"

#include "platform/PointerEventQueue.h"

#include <QTest>

namespace {
MouseEvent motion(double x)
{
    return {MouseEventKind::LeftDragged, {x, 10}, 0};
}
MouseEvent button(MouseEventKind kind, double x)
{
    return {kind, {x, 10}, 0};
}

QList<MouseEvent> drain(PointerEventQueue& queue)
{
    QList<MouseEvent> events;
    while (const std::optional<MouseEvent> event = queue.takeFirst())
        events.append(*event);
    return events;
}
} // namespace

class TestPointerEventQueue : public QObject
{
    Q_OBJECT
private slots:
    void keepsOrderWithoutBacklog()
    {
        PointerEventQueue queue;
        queue.push(button(MouseEventKind::LeftDown, 1));
        queue.push(motion(2));
        queue.push(button(MouseEventKind::LeftUp, 3));
        const QList<MouseEvent> events = drain(queue);
        QCOMPARE(events.size(), 3);
        QCOMPARE(events[0].kind, MouseEventKind::LeftDown);
        QCOMPARE(events[1].point.x(), 2.0);
        QCOMPARE(events[2].kind, MouseEventKind::LeftUp);
    }

    void floodKeepsButtonsAndTheNewestMotion()
    {
        LogCapture log;
        PointerEventQueue queue;
        queue.push(button(MouseEventKind::LeftDown, 0));
        for (int i = 1; i <= 5000; ++i)
            queue.push(motion(i));
        queue.push(button(MouseEventKind::LeftUp, 6000));
        QVERIFY(queue.size() <= PointerEventQueue::kBacklog + 2);

        const QList<MouseEvent> events = drain(queue);
        QCOMPARE(events.first().kind, MouseEventKind::LeftDown);
        QCOMPARE(events.last().kind, MouseEventKind::LeftUp);
        QCOMPARE(events.last().point.x(), 6000.0);
        // The motion just before the release is the newest one; motions stay in order.
        QCOMPARE(events[events.size() - 2].point.x(), 5000.0);
        for (qsizetype i = 2; i < events.size() - 1; ++i)
            QVERIFY(events[i].point.x() > events[i - 1].point.x());

        const QStringList lines = log.messages("orventa.input");
        QCOMPARE(lines.filter(QStringLiteral("dropping motions")).size(), 1);
        const QStringList ended = lines.filter(QStringLiteral("The desktop caught up"));
        QCOMPARE(ended.size(), 1);
        QVERIFY2(ended.first().contains(
                     QStringLiteral("dropped %1 motions").arg(5000 - (events.size() - 2))),
            qPrintable(ended.first()));
    }

    void clicksBeyondCapacityGoAsAWhole()
    {
        LogCapture log;
        PointerEventQueue queue;
        // Clicks alone fill it: nothing may be merged.
        for (qsizetype i = 0; i < PointerEventQueue::kCapacity / 2; ++i) {
            queue.push(button(MouseEventKind::LeftDown, double(i)));
            queue.push(button(MouseEventKind::LeftUp, double(i)));
        }
        QCOMPARE(queue.size(), PointerEventQueue::kCapacity);
        queue.push(button(MouseEventKind::LeftDown, -1));
        queue.push(motion(-1));
        queue.push(button(MouseEventKind::LeftUp, -1));
        QVERIFY(queue.size() <= PointerEventQueue::kCapacity + 1);
        const QList<MouseEvent> events = drain(queue);
        // Still press/release pairs: the button ends up.
        QCOMPARE(events.last().kind == MouseEventKind::LeftUp
                || events.last().kind == MouseEventKind::LeftDragged,
            true);
        int held = 0;
        for (const MouseEvent& event : events) {
            if (event.kind == MouseEventKind::LeftDown)
                ++held;
            else if (event.kind == MouseEventKind::LeftUp)
                --held;
            QVERIFY(held == 0 || held == 1);
        }
        QCOMPARE(held, 0);
    }
};

QTEST_GUILESS_MAIN(TestPointerEventQueue)
#include "tst_pointer_event_queue.moc"
