// The touch port under a flood, against the session classes in a process of their own
// (robustness_host) with XTest on a private Xvfb, in a private network namespace: 20,000
// datagrams a second for 10 s, a mix of valid, truncated, non-UTF-8, NUL-filled, 64 KiB and
// many-field records. The process stays alive, its resident memory grows by at most 2 MiB, and
// a valid touch afterwards still moves the pointer; the same while an alert is open. Also: the
// port already bound by another process.
#include "AddressSanitizer.h"
#include "HostProcess.h"
#include "NetnsShell.h"
#include "SimProcess.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QTest>
#include <QUdpSocket>

#include <X11/Xlib.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kRate = 20000;
constexpr qint64 kMaxGrowthKiB = 2048;
#if defined(ORVENTA_ADDRESS_SANITIZER)
// AddressSanitizer holds freed memory back in quarantine, so resident memory says nothing about
// what the session keeps: memory is checked by the uninstrumented suite only.
constexpr bool kMeasuresMemory = false;
#else
constexpr bool kMeasuresMemory = true;
#endif

QByteArray floodDatagram(int i)
{
    const int kind = i % 100;
    if (kind == 0)
        return "MOVE," + QByteArray(65000, '7'); // 64 KiB in one field
    if (kind == 1)
        return "MOVE" + QByteArray(",1").repeated(4000); // many fields
    if (kind < 10)
        return QByteArrayList {
            "MOVE,12", "DOWN", "", ";", "MOVE,1;2,3,4", "X,Y", ",,", "MOVE,1,", "TAP"}[kind - 1];
    if (kind < 30)
        return QByteArray("\xff\xfe\xfd,1,2,3;") + char(0x80 + kind);
    if (kind < 50)
        return QByteArray(200, '\0');
    return "MOVE," + QByteArray::number(1000 + i % 1000) + ",1000," + QByteArray::number(i) + ";";
}

struct FloodResult
{
    qint64 sent = 0;
    qint64 elapsedMs = 0;
    qint64 maxRssKiB = 0;
    QList<qint64> perSecondKiB; // resident memory at each second
};

// Sends the mix to the touch port at kRate a second for the given time, sampling the host's
// resident memory every 100 ms. A sender starved of CPU (a loaded machine) catches up afterwards:
// the flood always has its full count, only then a little longer.
FloodResult flood(const HostProcess& host, int milliseconds)
{
    FloodResult result;
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to {};
    to.sin_family = AF_INET;
    to.sin_port = htons(41863);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    QElapsedTimer clock;
    clock.start();
    qint64 lastSample = -100;
    const qint64 total = qint64(kRate) * milliseconds / 1000;
    while (result.sent < total) {
        const qint64 due = std::min(total, clock.nsecsElapsed() / 1000 * kRate / 1000000);
        for (; result.sent < due; ++result.sent) {
            const QByteArray datagram = floodDatagram(int(result.sent));
            ::sendto(fd, datagram.constData(), size_t(datagram.size()), 0,
                reinterpret_cast<const sockaddr*>(&to), sizeof to);
        }
        if (clock.elapsed() - lastSample >= 100) {
            lastSample = clock.elapsed();
            const qint64 rss = host.residentKiB();
            result.maxRssKiB = std::max(result.maxRssKiB, rss);
            if (lastSample / 1000 >= result.perSecondKiB.size())
                result.perSecondKiB.append(rss);
        }
        ::usleep(200);
    }
    ::close(fd);
    result.elapsedMs = clock.elapsed();
    return result;
}

QPoint pointer(Display* display)
{
    Window root, child;
    int rootX = 0, rootY = 0, winX = 0, winY = 0;
    unsigned int mask = 0;
    XQueryPointer(
        display, DefaultRootWindow(display), &root, &child, &rootX, &rootY, &winX, &winY, &mask);
    return {rootX, rootY};
}

void sendTouch(const QByteArray& datagram)
{
    QUdpSocket sender;
    QCOMPARE(sender.writeDatagram(datagram, QHostAddress::LocalHost, 41863), datagram.size());
}

// Waits until the host has handled what it was sent: its answers come after the datagrams
// queued before them, and two quiet rounds mean the socket is drained.
bool settle(HostProcess& host)
{
    QElapsedTimer clock;
    clock.start();
    for (int round = 0; round < 2; ++round) {
        QTest::qWait(300);
        const QByteArray answer = host.command("lag");
        qInfo("settle: %s after %lld ms", answer.constData(), clock.elapsed());
        if (!answer.startsWith("lag"))
            return false;
    }
    return true;
}

} // namespace

class TestTouchFlood : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimProcess> m_sim;
    Display* m_display = nullptr;

    // A valid touch far from the flood's points moves the real pointer there.
    void touchStillMovesThePointer()
    {
        sendTouch("MOVE,30000,20000,1;");
        const QPoint expected(qRound(30000 / 32767.0 * 1440), qRound(20000 / 32767.0 * 900));
        QTRY_VERIFY2_WITH_TIMEOUT((pointer(m_display) - expected).manhattanLength() <= 2,
            qPrintable(QStringLiteral("pointer at %1,%2")
                           .arg(pointer(m_display).x())
                           .arg(pointer(m_display).y())),
            10000);
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(insideTestNamespace(), "run through with-netns-route");
        m_display = XOpenDisplay(nullptr);
        QVERIFY2(m_display, "run under with-xvfb");
        m_sim = std::make_unique<SimProcess>(QStringLiteral("127.0.0.1"));
        QVERIFY(m_sim->isReady());
    }
    void cleanupTestCase()
    {
        if (m_display)
            XCloseDisplay(m_display);
    }

    void floodLeavesMemoryAndTouchesAlone()
    {
        HostProcess host(QStringLiteral("127.0.0.1"), 4000);
        QVERIFY(host.isReady());
        // Warm-up: every kind of datagram has been seen, and the heap has found its size (it
        // grows for a few seconds at the start of a flood, then stays).
        flood(host, 3000);
        QVERIFY(settle(host));
        const qint64 before = host.residentKiB();
        const FloodResult result = flood(host, 10000);
        QVERIFY(settle(host));
        const qint64 after = host.residentKiB();
        qInfo("flood sent=%lld elapsed_ms=%lld rss_before_kib=%lld rss_after_kib=%lld "
              "rss_max_kib=%lld",
            result.sent, result.elapsedMs, before, after, result.maxRssKiB);
        qInfo() << "flood rss per second (KiB):" << result.perSecondKiB;
        QVERIFY(host.isRunning());
        QVERIFY2(!kMeasuresMemory || after - before <= kMaxGrowthKiB,
            qPrintable(QString::number(after - before)));
        touchStillMovesThePointer();
        QVERIFY(host.log().contains("Dropped a touch datagram"));
    }

    void floodDuringAnAlertIsBounded()
    {
        HostProcess host(QStringLiteral("127.0.0.1"), 4000);
        QVERIFY(host.isReady());
        flood(host, 1000);
        QVERIFY(settle(host));
        QCOMPARE(host.command("alert"), QByteArray("ok alert"));
        QTest::qWait(300);
        const qint64 before = host.residentKiB();
        const FloodResult result = flood(host, 10000);
        QVERIFY(settle(host));
        const qint64 during = host.residentKiB();
        QCOMPARE(host.command("dismiss"), QByteArray("ok dismiss"));
        QVERIFY(settle(host));
        const qint64 after = host.residentKiB();
        qInfo("flood-alert sent=%lld elapsed_ms=%lld rss_before_kib=%lld rss_during_kib=%lld "
              "rss_after_kib=%lld rss_max_kib=%lld",
            result.sent, result.elapsedMs, before, during, after, result.maxRssKiB);
        QVERIFY(host.isRunning());
        QVERIFY2(!kMeasuresMemory || result.maxRssKiB - before <= kMaxGrowthKiB,
            qPrintable(QString::number(result.maxRssKiB - before)));
        QVERIFY2(!kMeasuresMemory || after - before <= kMaxGrowthKiB,
            qPrintable(QString::number(after - before)));
        const QByteArray log = host.log();
        QCOMPARE(log.count("Dropping touch datagrams: "), 1);
        QVERIFY(log.contains("touch datagrams that came while the waiting list was full"));
        touchStillMovesThePointer();
    }

    void portAlreadyBoundByAnotherProcess()
    {
        QUdpSocket other;
        QVERIFY(other.bind(QHostAddress::AnyIPv4, 41863, QAbstractSocket::DontShareAddress));
        const qsizetype pingsBefore = m_sim->requests().size();
        HostProcess host(QStringLiteral("127.0.0.1"), 200);
        QVERIFY(host.isReady());
        QTRY_VERIFY(host.log().contains("Error binding to port: "));
        // The session goes on: the heartbeat keeps asking the receiver.
        QTRY_VERIFY(m_sim->requests().size() >= pingsBefore + 5);
        QVERIFY(host.isRunning());
        const QByteArray state = host.command("state");
        QVERIFY2(state.startsWith("state touchback=0 socket=0 ping=1"), state.constData());
        QCOMPARE(host.log().count("Error binding to port: "), 1);
    }
};

QTEST_GUILESS_MAIN(TestTouchFlood)
#include "tst_touch_flood.moc"
