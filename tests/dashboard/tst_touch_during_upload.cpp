// Touches that arrive while an upload runs all reach the X server, in their order: the dashboard
// with its real touch socket and XTest poster, paired with receiver-sim, which reads the upload
// slowly so that it runs through all the touches; xi-raw-observer records the pointer motion.
#include "SessionFixture.h"

#include "platform/x11/XTestEventPoster.h"
#include "receiver/ReceiverSession.h"

#include "receiver/ReceiverReply.h"
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QPointer>
#include <QProcess>
#include <QTemporaryDir>
#include <QUdpSocket>

#include <cmath>

using namespace session_test;

namespace {

constexpr int kTouches = 400;
constexpr qint64 kFileSize = 96LL * 1024 * 1024;
constexpr int kUploadRate = 16 * 1000 * 1000; // bytes a second: about 6 s for the file

// Touch i aims at a pixel of its own on the 1440x900 screen; the touch value is the smallest
// that lands on it.
QPoint pixelOf(int i)
{
    return {200 + i * 2 % 1000, 300 + i / 500 * 10};
}

QByteArray datagramOf(int i)
{
    const QPoint p = pixelOf(i);
    const auto tx = long(std::ceil(p.x() * 32767.0 / 1440));
    const auto ty = long(std::ceil(p.y() * 32767.0 / 900));
    return "MOVE," + QByteArray::number(tx) + ',' + QByteArray::number(ty) + ','
        + QByteArray::number(i) + ';';
}

// The pointer motion that xi-raw-observer has printed so far, as pixels.
class MotionLog
{
public:
    explicit MotionLog(QProcess* observer)
        : m_observer(observer)
    { }
    const QList<QPoint>& read()
    {
        m_pending += m_observer->readAllStandardOutput();
        for (qsizetype nl; (nl = m_pending.indexOf('\n')) >= 0; m_pending.remove(0, nl + 1)) {
            const QJsonObject event = QJsonDocument::fromJson(m_pending.left(nl)).object();
            if (event.value(QStringLiteral("type")).toString() == QLatin1String("motion"))
                m_seen << QPoint(event.value(QStringLiteral("x")).toInt(),
                    event.value(QStringLiteral("y")).toInt());
        }
        return m_seen;
    }

private:
    QProcess* m_observer;
    QByteArray m_pending;
    QList<QPoint> m_seen;
};

QPointer<ReceiverReply> runningUpload()
{
    for (ReceiverReply* reply : ReceiverSession::shared()->findChildren<ReceiverReply*>())
        if (reply->url().port() == 5505 && !reply->isFinished())
            return reply;
    return nullptr;
}

} // namespace

class TestTouchDuringUpload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(insideTestNamespace(), "run through tests/support/with-netns-route");
        QVERIFY2(qgetenv("QT_QPA_PLATFORM") == "xcb", "run through tests/support/with-xvfb");
        setUpApplication();
        installXTestEventPoster();
    }

    void touchesArriveInOrderDuringAnUpload()
    {
        SimProcess sim(kReceiverIp);
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("upload-rate " + QByteArray::number(kUploadRate)).startsWith("ok"));
        QTemporaryDir dir;
        QFile file(dir.filePath(QStringLiteral("talk.mp4")));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(kFileSize));
        file.close();

        QProcess observer;
        observer.start(QStringLiteral(XI_RAW_OBSERVER));
        QVERIFY(observer.waitForReadyRead(10000));
        QVERIFY(observer.readLine().contains("ready"));

        StdoutCapture out;
        auto dashboard = makeDashboard();
        dashboard->didPickCastingDeviceWithIP(kReceiverIp, kReceiverHex, kReceiverName);
        toggleSwitch(*dashboard, true);
        QTRY_VERIFY(dashboard->sendUdpSocket()
            && dashboard->sendUdpSocket()->state() == QAbstractSocket::BoundState);
        dashboard->uploadFileURL(QUrl::fromLocalFile(file.fileName()));
        QTRY_VERIFY_WITH_TIMEOUT(runningUpload(), 5000);
        const QPointer<ReceiverReply> upload = runningUpload();
        qint64 sentAtStart = 0;
        connect(upload, &ReceiverReply::uploadProgress, this,
            [&](qint64 sent) { sentAtStart = sentAtStart ? sentAtStart : sent; });
        QTRY_VERIFY(sentAtStart > 0);

        // One touch a millisecond, from this thread, between the dashboard's own events.
        QUdpSocket sender;
        QElapsedTimer clock;
        clock.start();
        for (int i = 0; i < kTouches;) {
            if (clock.nsecsElapsed() >= i * 1000000LL) {
                const QByteArray datagram = datagramOf(i++);
                QCOMPARE(sender.writeDatagram(datagram, QHostAddress(kReceiverIp),
                             DashboardViewController::kTouchPort),
                    datagram.size());
            }
            QCoreApplication::processEvents();
        }
        MotionLog log(&observer);
        QTRY_VERIFY_WITH_TIMEOUT(log.read().size() >= kTouches, 20000);
        // The upload was running the whole time.
        QVERIFY(upload && !upload->isFinished());

        QList<QPoint> expected;
        for (int i = 0; i < kTouches; ++i)
            expected << pixelOf(i);
        QCOMPARE(log.read(), expected);

        QTRY_VERIFY_WITH_TIMEOUT(out.lines().contains("Successfully uploaded"), 60000);
        observer.kill();
        observer.waitForFinished();
    }
};

QTEST_MAIN(TestTouchDuringUpload)
#include "tst_touch_during_upload.moc"
