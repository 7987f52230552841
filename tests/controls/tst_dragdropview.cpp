#include "controls/DragDropView.h"
#include "controls/DragDropViewDelegate.h"

#include "AlertRecorder.h"
#include "LogCapture.h"

#include <QApplication>
#include <QBuffer>
#include <QDragEnterEvent>
#include <QImage>
#include <QMimeData>
#include <QTest>
#include <QUrl>

namespace {

const char* const ControlsCategory = "orventa.controls";

class RecordingDelegate : public DragDropViewDelegate
{
public:
    void uploadFileURL(const QUrl& fileUrl) override
    {
        calls << QStringLiteral("uploadFileURL");
        urls << fileUrl;
    }
    void draggingInprogress() override { calls << QStringLiteral("draggingInprogress"); }
    void draggingBegin() override { calls << QStringLiteral("draggingBegin"); }
    void draggingFinished() override { calls << QStringLiteral("draggingFinished"); }
    QStringList calls;
    QList<QUrl> urls;
};

class ObjectDelegate : public QObject, public RecordingDelegate
{
    Q_OBJECT
};

QByteArray pngBytes()
{
    QImage image(4, 4, QImage::Format_ARGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// A window holding one drop view; drags are sent to the window, which finds the drop target
// under the pointer the way Qt does for a real drag.
struct DropWindow
{
    DropWindow()
    {
        window.resize(300, 200);
        view = new DragDropView(&window);
        view->setGeometry(50, 50, 200, 100);
        window.show();
    }
    QPoint inside() const { return QPoint(150, 100); }
    QPoint outside() const { return QPoint(10, 10); }

    bool enter(const QMimeData* data, Qt::DropActions actions = DragDropView::EveryOperation,
        Qt::DropAction* answered = nullptr)
    {
        QDragEnterEvent event(inside(), actions, data, Qt::LeftButton, Qt::NoModifier);
        event.ignore();
        QApplication::sendEvent(window.windowHandle(), &event);
        if (answered)
            *answered = event.dropAction();
        return event.isAccepted();
    }
    bool move(const QMimeData* data, QPoint at,
        Qt::DropActions actions = DragDropView::EveryOperation, Qt::DropAction* answered = nullptr)
    {
        QDragMoveEvent event(at, actions, data, Qt::LeftButton, Qt::NoModifier);
        event.ignore();
        QApplication::sendEvent(window.windowHandle(), &event);
        if (answered)
            *answered = event.dropAction();
        return event.isAccepted();
    }
    void leave()
    {
        QDragLeaveEvent event;
        QApplication::sendEvent(window.windowHandle(), &event);
    }
    bool drop(const QMimeData* data)
    {
        QDropEvent event(
            QPointF(inside()), DragDropView::EveryOperation, data, Qt::LeftButton, Qt::NoModifier);
        event.ignore();
        QApplication::sendEvent(window.windowHandle(), &event);
        return event.isAccepted();
    }
    // A whole drag: enter, one move, drop. Answers whether the drop was taken.
    bool dragAndDrop(const QMimeData* data)
    {
        if (!enter(data) || !move(data, inside()))
            return false;
        return drop(data);
    }

    QWidget window;
    DragDropView* view = nullptr;
};

} // namespace

class TestDragDropView : public QObject
{
    Q_OBJECT

private slots:
    void onlyInitMakesADropTarget();
    void phasesReachTheDelegate();
    void everyOperationWhateverTheSourceAllows();
    void dragWithoutRegisteredTypesIsNotHeard();
    void fileUrlUploadsOnce_data();
    void fileUrlUploadsOnce();
    void pdfIsLoggedOnly();
    void urlIsLoggedOnly();
    void pngWinsOverFileUrl();
    void emptyDataIsDataAndOnlyAbsentDataShowsPasteError();
    void noDelegateStillTakesTheDrop();
    void destroyedDelegateIsNotCalled();
};

void TestDragDropView::onlyInitMakesADropTarget()
{
    DropWindow w;
    RecordingDelegate delegate;
    w.view->setDelegate(&delegate);
    QVERIFY(!w.view->acceptDrops());
    QVERIFY(w.view->registeredDraggedTypes().isEmpty());
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/slides.pdf"))});
    QVERIFY(!w.enter(&data));
    QVERIFY(delegate.calls.isEmpty());

    QCOMPARE(w.view->init(), w.view);
    QVERIFY(w.view->acceptDrops());
    const QStringList types {QStringLiteral("image/png"), QStringLiteral("application/pdf"),
        QStringLiteral("text/uri-list"), QStringLiteral("application/x-file-url")};
    QCOMPARE(w.view->registeredDraggedTypes(), types);
    w.view->init(); // a second init registers the same list again
    QCOMPARE(w.view->registeredDraggedTypes(), types);
    QVERIFY(w.dragAndDrop(&data));
    QCOMPARE(delegate.urls, QList<QUrl> {QUrl::fromLocalFile(QStringLiteral("/tmp/slides.pdf"))});
}

void TestDragDropView::phasesReachTheDelegate()
{
    DropWindow w;
    RecordingDelegate delegate;
    w.view->init()->setDelegate(&delegate);
    QCOMPARE(w.view->delegate(), &delegate);
    LogCapture log;
    QMimeData data;
    data.setUrls({QUrl(QStringLiteral("https://example.invalid/page"))});

    QVERIFY(w.enter(&data));
    QVERIFY(w.move(&data, w.inside()));
    QVERIFY(w.move(&data, w.inside() + QPoint(5, 5)));
    w.leave();
    QCOMPARE(delegate.calls,
        (QStringList {
            "draggingBegin", "draggingInprogress", "draggingInprogress", "draggingFinished"}));
    QVERIFY(!log.messages(ControlsCategory).contains(QStringLiteral("draggingEnded")));

    delegate.calls.clear();
    QVERIFY(w.dragAndDrop(&data));
    QCOMPARE(
        delegate.calls, (QStringList {"draggingBegin", "draggingInprogress", "draggingFinished"}));
    QCOMPARE(log.messages(ControlsCategory), (QStringList {"URL", "draggingEnded"}));

    // Leaving the view's area through the window is a leave as well.
    delegate.calls.clear();
    QVERIFY(w.enter(&data));
    w.move(&data, w.outside());
    QCOMPARE(delegate.calls, (QStringList {"draggingBegin", "draggingFinished"}));
}

void TestDragDropView::everyOperationWhateverTheSourceAllows()
{
    DropWindow w;
    RecordingDelegate delegate;
    w.view->init()->setDelegate(&delegate);
    QMimeData data;
    data.setData(QStringLiteral("application/pdf"), "%PDF-1.4");
    for (Qt::DropActions allowed :
        {Qt::DropActions(Qt::CopyAction), Qt::DropActions(Qt::MoveAction),
            Qt::DropActions(Qt::LinkAction), DragDropView::EveryOperation}) {
        Qt::DropAction onEnter = Qt::IgnoreAction;
        Qt::DropAction onMove = Qt::IgnoreAction;
        QVERIFY(w.enter(&data, allowed, &onEnter));
        QVERIFY(w.move(&data, w.inside(), allowed, &onMove));
        const QString answers = QStringLiteral("source allows %1, answered %2 and %3")
                                    .arg(int(allowed))
                                    .arg(int(onEnter))
                                    .arg(int(onMove));
        // Qt keeps an answer within what the source allows; the view takes whatever that is.
        QVERIFY2(allowed.testFlag(onEnter), qPrintable(answers));
        QVERIFY2(allowed.testFlag(onMove), qPrintable(answers));
        w.leave();
    }
    // A source that allows no action at all is still accepted.
    QVERIFY(w.enter(&data, Qt::IgnoreAction));
    QVERIFY(w.move(&data, w.inside(), Qt::IgnoreAction));
    w.leave();
    QCOMPARE(delegate.calls.count(QStringLiteral("draggingBegin")), 5);
}

void TestDragDropView::dragWithoutRegisteredTypesIsNotHeard()
{
    DropWindow w;
    RecordingDelegate delegate;
    w.view->init()->setDelegate(&delegate);
    QMimeData text;
    text.setText(QStringLiteral("hello"));
    QVERIFY(!w.enter(&text));
    QVERIFY(delegate.calls.isEmpty());
}

void TestDragDropView::fileUrlUploadsOnce_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("image") << QStringLiteral("/home/user/Pictures/photo.jpg");
    QTest::newRow("video") << QStringLiteral("/home/user/Videos/clip.mp4");
    QTest::newRow("document") << QStringLiteral("/home/user/Documents/deck.pptx");
    QTest::newRow("unknown kind") << QStringLiteral("/home/user/archive.tar.gz");
}

void TestDragDropView::fileUrlUploadsOnce()
{
    QFETCH(QString, path);
    DropWindow w;
    RecordingDelegate delegate;
    w.view->init()->setDelegate(&delegate);
    LogCapture log;
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path)});
    QVERIFY(w.dragAndDrop(&data));
    QCOMPARE(delegate.urls, QList<QUrl> {QUrl::fromLocalFile(path)});
    QCOMPARE(delegate.calls.count(QStringLiteral("uploadFileURL")), 1);
    QCOMPARE(log.messages(ControlsCategory), QStringList {"draggingEnded"});
}

void TestDragDropView::pdfIsLoggedOnly()
{
    DropWindow w;
    RecordingDelegate delegate;
    w.view->init()->setDelegate(&delegate);
    LogCapture log;
    QMimeData data;
    data.setData(QStringLiteral("application/pdf"), "%PDF-1.4 minimal");
    QVERIFY(w.dragAndDrop(&data));
    QVERIFY(delegate.urls.isEmpty());
    QCOMPARE(log.messages(ControlsCategory), (QStringList {"PDF", "draggingEnded"}));
}

void TestDragDropView::urlIsLoggedOnly()
{
    DropWindow w;
    RecordingDelegate delegate;
    w.view->init()->setDelegate(&delegate);
    LogCapture log;
    QMimeData data;
    data.setUrls({QUrl(QStringLiteral("https://example.invalid/slides"))});
    QVERIFY(w.dragAndDrop(&data));
    QVERIFY(delegate.urls.isEmpty());
    QCOMPARE(log.messages(ControlsCategory), (QStringList {"URL", "draggingEnded"}));
}

void TestDragDropView::pngWinsOverFileUrl()
{
    DropWindow w;
    RecordingDelegate delegate;
    w.view->init()->setDelegate(&delegate);
    LogCapture log;
    QMimeData data;
    data.setData(QStringLiteral("image/png"), pngBytes());
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/home/user/shot.png"))});
    QVERIFY(w.dragAndDrop(&data));
    QVERIFY(delegate.urls.isEmpty());
    QCOMPARE(log.messages(ControlsCategory), (QStringList {"PNG image", "draggingEnded"}));
}

void TestDragDropView::emptyDataIsDataAndOnlyAbsentDataShowsPasteError()
{
    DropWindow w;
    RecordingDelegate delegate;
    w.view->init()->setDelegate(&delegate);
    AlertRecorder alerts;
    LogCapture log;
    // Offered but without bytes: that is data (empty), so the PNG case takes it.
    QMimeData data;
    data.setData(QStringLiteral("image/png"), QByteArray());
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/home/user/shot.png"))});
    QVERIFY(data.hasFormat(QStringLiteral("image/png")));
    QVERIFY(w.dragAndDrop(&data));
    QVERIFY(alerts.alerts().isEmpty());
    QVERIFY(delegate.urls.isEmpty());
    QCOMPARE(log.messages(ControlsCategory), (QStringList {"PNG image", "draggingEnded"}));

    // An empty PDF likewise.
    log.clear();
    QMimeData pdf;
    pdf.setData(QStringLiteral("application/pdf"), QByteArray());
    QVERIFY(w.view->performDragOperation(&pdf));
    QCOMPARE(log.messages(ControlsCategory), QStringList {"PDF"});
    QVERIFY(alerts.alerts().isEmpty());

    // Nothing it knows is offered: no data at all, the "Paste Error" alert.
    QMimeData text;
    text.setText(QStringLiteral("plain"));
    QVERIFY(!w.view->performDragOperation(&text));
    QCOMPARE(alerts.alerts(),
        (QList<AlertRecorder::Alert> {{QStringLiteral("Paste Error"),
            QStringLiteral("Sorry, but the past operation failed")}}));
}

void TestDragDropView::noDelegateStillTakesTheDrop()
{
    DropWindow w;
    w.view->init();
    QVERIFY(!w.view->delegate());
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/home/user/deck.pdf"))});
    QVERIFY(w.dragAndDrop(&data));
}

void TestDragDropView::destroyedDelegateIsNotCalled()
{
    DropWindow w;
    auto delegate = std::make_unique<ObjectDelegate>();
    w.view->init()->setDelegate(delegate.get());
    QCOMPARE(w.view->delegate(), delegate.get());
    delegate.reset();
    QVERIFY(!w.view->delegate());
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/home/user/deck.pdf"))});
    QVERIFY(w.dragAndDrop(&data)); // accepted, goes nowhere
}

QTEST_MAIN(TestDragDropView)
#include "tst_dragdropview.moc"
