// The Avahi daemon killed and restarted during a paired touchback session. The session classes run
// in a process of their own (robustness_host, browsing too, XTest on a private Xvfb) paired with
// receiver-sim; the daemon is a real one in a private namespace (with-mdns-netns), the session's
// requests and touches stay inside a network namespace of their own (with-netns-route). The list
// empties and refills once the receivers announce again; the heartbeat keeps reaching the
// receiver, the pairing and the touchback session stay, and a touch still moves the pointer.
#include "HostProcess.h"
#include "NetnsShell.h"
#include "SimProcess.h"

#include <QElapsedTimer>
#include <QFile>
#include <QHostAddress>
#include <QJsonObject>
#include <QProcess>
#include <QTest>
#include <QUdpSocket>

#include <X11/Xlib.h>
#include <csignal>
#include <memory>

namespace {

constexpr int kReceivers = 20;
constexpr int kPingMs = 300;

QPoint pointer(Display* display)
{
    Window root, child;
    int rootX = 0, rootY = 0, winX = 0, winY = 0;
    unsigned int mask = 0;
    XQueryPointer(
        display, DefaultRootWindow(display), &root, &child, &rootX, &rootY, &winX, &winY, &mask);
    return {rootX, rootY};
}

// mass_publisher announcing the receivers; withdrawn when the object goes.
class Receivers
{
public:
    Receivers() { m_process.start(QStringLiteral(MASS_PUBLISHER), {QString::number(kReceivers)}); }
    ~Receivers()
    {
        m_process.terminate();
        m_process.waitForFinished(5000);
    }
    QByteArray waitEstablished()
    {
        QByteArray output;
        QDeadlineTimer deadline(15000);
        while (!output.contains('\n') && !deadline.hasExpired()
            && m_process.state() != QProcess::NotRunning) {
            m_process.waitForReadyRead(100);
            output += m_process.readAllStandardOutput();
        }
        return output.trimmed();
    }

private:
    QProcess m_process;
};

// SIGKILL, as a crash would end it: no goodbye packets, no clean D-Bus farewell.
bool killDaemon()
{
    QFile pidFile(QStringLiteral("/run/avahi-daemon/pid"));
    if (!pidFile.open(QIODevice::ReadOnly))
        return false;
    const pid_t pid = pidFile.readAll().trimmed().toInt();
    if (pid <= 1 || ::kill(pid, SIGKILL) != 0)
        return false;
    return QTest::qWaitFor([pid] { return ::kill(pid, 0) != 0; }, 5000);
}

} // namespace

class TestAvahiRestartSession : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimProcess> m_sim;
    Display* m_display = nullptr;

    qsizetype pings() const
    {
        qsizetype count = 0;
        for (const QJsonObject& request : m_sim->requests())
            count += request[QLatin1String("target")].toString().startsWith(
                QLatin1String("/pingServerWithIP"));
        return count;
    }

    static int rows(HostProcess& host)
    {
        const QByteArray answer = host.command("rows");
        return answer.startsWith("rows ") ? answer.mid(5).toInt() : -1;
    }

    void touchMovesThePointer(int x, int y)
    {
        const QByteArray datagram
            = "MOVE," + QByteArray::number(x) + ',' + QByteArray::number(y) + ",1;";
        QUdpSocket sender;
        QCOMPARE(sender.writeDatagram(datagram, QHostAddress::LocalHost, 41863), datagram.size());
        const QPoint expected(qRound(x / 32767.0 * 1440), qRound(y / 32767.0 * 900));
        QTRY_VERIFY2_WITH_TIMEOUT((pointer(m_display) - expected).manhattanLength() <= 2,
            qPrintable(QStringLiteral("pointer at %1,%2")
                           .arg(pointer(m_display).x())
                           .arg(pointer(m_display).y())),
            10000);
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(qEnvironmentVariable("ORVENTA_MDNS_NETNS") == QLatin1String("1"),
            "run through with-mdns-netns");
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

    void daemonKilledAndRestartedDuringSession()
    {
        HostProcess host(QStringLiteral("127.0.0.1"), kPingMs, {QStringLiteral("browse")});
        QVERIFY(host.isReady());
        QElapsedTimer clock;
        clock.start();
        {
            Receivers receivers;
            QCOMPARE(receivers.waitEstablished(), "established " + QByteArray::number(kReceivers));
            QTRY_COMPARE_WITH_TIMEOUT(rows(host), kReceivers, 15000);
            touchMovesThePointer(8000, 8000);
            QVERIFY(killDaemon());
            QVERIFY(QProcess::execute(
                        qEnvironmentVariable("ORVENTA_MDNS_CTL"), {QStringLiteral("start")})
                == 0);
            QTRY_VERIFY_WITH_TIMEOUT(
                host.log().contains("Lost the connection to the Avahi daemon"), 10000);
        }
        const qint64 restarted = clock.elapsed();
        // The daemon that announced them is gone, and so are their rows until they announce again.
        QTRY_COMPARE_WITH_TIMEOUT(rows(host), 0, 10000);
        const qsizetype pingsAfterRestart = pings();
        Receivers again;
        QCOMPARE(again.waitEstablished(), "established " + QByteArray::number(kReceivers));
        QTRY_COMPARE_WITH_TIMEOUT(rows(host), kReceivers, 15000);
        const qint64 refilled = clock.elapsed();

        // The session went on all along: paired, touchback on, the heartbeat still asking.
        QTRY_VERIFY_WITH_TIMEOUT(pings() >= pingsAfterRestart + 3, 10000);
        const QByteArray state = host.command("state");
        QVERIFY2(state == "state touchback=1 socket=4 ping=1", state.constData());
        touchMovesThePointer(30000, 20000);
        QVERIFY(host.isRunning());
        qInfo("daemon restarted after %lld ms, list refilled after %lld ms, %lld pings in all",
            qlonglong(restarted), qlonglong(refilled), qlonglong(pings()));
    }
};

QTEST_GUILESS_MAIN(TestAvahiRestartSession)
#include "tst_avahi_restart_session.moc"
