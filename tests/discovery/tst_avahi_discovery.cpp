// Discovery against a real avahi-daemon. Runs only inside the private namespace made by
// tests/support/with-mdns-netns (own network, /run, D-Bus and daemon).
#include "LogCapture.h"

#include "app/Backends.h"
#include "discovery/DevicesListViewController.h"
#include "platform/avahi/AvahiNetServiceBrowser.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QtTest>

#include <memory>

using namespace std::chrono_literals;

namespace {

// One avahi-publish-service process; the service is withdrawn when it ends.
class Publisher
{
public:
    explicit Publisher(const QString& name, const QStringList& extra = {})
    {
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral("avahi-publish-service"),
            extra + QStringList {name, QStringLiteral("_airplay._tcp"), QStringLiteral("7000")});
    }
    ~Publisher() { stop(); }
    bool waitEstablished()
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_output.contains("Established under name") && timer.elapsed() < 10000) {
            if (!m_process.waitForReadyRead(200) && m_process.state() == QProcess::NotRunning)
                break;
            m_output += m_process.readAll();
        }
        return m_output.contains("Established under name");
    }
    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        m_process.waitForFinished(5000);
    }

private:
    QProcess m_process;
    QByteArray m_output;
};

bool avahiCtl(const QString& action)
{
    return QProcess::execute(qEnvironmentVariable("ORVENTA_MDNS_CTL"), {action}) == 0;
}

} // namespace

class TestAvahiDiscovery : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<DevicesListViewController> m_controller;

    AvahiNetServiceBrowser* browser() const
    {
        return qobject_cast<AvahiNetServiceBrowser*>(m_controller->browser());
    }
    bool servicesContain(const QString& name) const
    {
        for (const NetService& s : m_controller->services()) {
            if (s.name == name)
                return true;
        }
        return false;
    }
    int servicesNamed(const QString& name) const
    {
        int count = 0;
        for (const NetService& s : m_controller->services())
            count += s.name == name;
        return count;
    }
    QList<AvahiNetServiceBrowser::PendingResolve> pendingFor(const QString& name) const
    {
        QList<AvahiNetServiceBrowser::PendingResolve> pending;
        for (const auto& p : browser()->pendingResolves()) {
            if (p.service.name == name)
                pending.append(p);
        }
        return pending;
    }
    void startController()
    {
        Backends::installServiceBrowser();
        m_controller = std::make_unique<DevicesListViewController>();
        m_controller->loadViewIfNeeded();
        QVERIFY(browser());
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariable("ORVENTA_MDNS_NETNS") != QLatin1String("1"))
            QFAIL("mDNS tests run only inside tests/support/with-mdns-netns");
    }

    void init()
    {
        AvahiNetServiceBrowser::setResolveTimeoutOverrideForTesting(std::nullopt);
        m_log = std::make_unique<LogCapture>();
    }

    void cleanup()
    {
        m_controller.reset();
        m_log.reset();
        AvahiNetServiceBrowser::setResolveTimeoutOverrideForTesting(std::nullopt);
    }

    void publishedReceiverIsListedAndRemoved()
    {
        startController();
        Publisher other(QStringLiteral("Receiver|Den|c0a80106"));
        Publisher receiver(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        QVERIFY(receiver.waitEstablished());
        QVERIFY(other.waitEstablished());
        QTRY_COMPARE_WITH_TIMEOUT(
            m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("192.168.1.5")}, 10000);
        QCOMPARE(m_controller->zentrixDeviceNames(), QStringList {QStringLiteral("Room 12")});
        QCOMPARE(m_controller->zentrixDeviceHex(), QStringList {QStringLiteral("c0a80105")});
        // One report per service even though Avahi may report several instances.
        QCOMPARE(servicesNamed(QStringLiteral("Brevik-X1|Room 12|c0a80105")), 1);
        const NetService& first = m_controller->services().first();
        QCOMPARE(first.type, QStringLiteral("_airplay._tcp"));
        QCOMPARE(first.domain, QStringLiteral("local"));
        QVERIFY(m_log->messages("orventa.discovery")
                    .contains(QStringLiteral("Resolved address for service Room 12 : c0a80105")));
        // The other make is seen and resolved, never listed.
        QTRY_VERIFY_WITH_TIMEOUT(
            m_log->messages("orventa.discovery")
                .contains(QStringLiteral("Resolved address for service Receiver|Den|c0a80106")),
            10000);
        QVERIFY(servicesContain(QStringLiteral("Receiver|Den|c0a80106")));
        QCOMPARE(m_controller->zentrixDeviceIPs().size(), 1);

        receiver.stop();
        QTRY_VERIFY_WITH_TIMEOUT(m_controller->zentrixDeviceIPs().isEmpty(), 10000);
        QVERIFY(!servicesContain(QStringLiteral("Brevik-X1|Room 12|c0a80105")));
        QVERIFY(m_controller->zentrixDeviceNames().isEmpty());
        QVERIFY(browser()->pendingResolves().isEmpty());
    }

    void twoPieceNameIsARangeErrorAndDiscoveryGoesOn()
    {
        startController();
        Publisher broken(QStringLiteral("Brevik|Hall"));
        QVERIFY(broken.waitEstablished());
        QTRY_VERIFY_WITH_TIMEOUT(!m_log->messages("orventa.platform")
                                      .filter(QStringLiteral("Uncaught exception"))
                                      .filter(QStringLiteral("Brevik|Hall"))
                                      .isEmpty(),
            10000);
        QVERIFY(m_log->messages("orventa.platform")
                    .filter(QStringLiteral("Uncaught exception"))
                    .first()
                    .contains(QStringLiteral("out_of_range")));
        Publisher good(QStringLiteral("Orventa One|Lobby|0a000005"));
        QVERIFY(good.waitEstablished());
        QTRY_VERIFY_WITH_TIMEOUT(
            m_controller->zentrixDeviceIPs().contains(QStringLiteral("10.0.0.5")), 10000);
    }

    void unresolvableServiceIsGivenUpSilently()
    {
        AvahiNetServiceBrowser::setResolveTimeoutOverrideForTesting(1500ms);
        startController();
        // Its host name has no address record, so resolution never succeeds.
        Publisher ghost(QStringLiteral("Brevik-Z|Ghost|0a0000fe"),
            {QStringLiteral("-H"), QStringLiteral("nowhere-to-be-found.local")});
        QVERIFY(ghost.waitEstablished());
        QTRY_VERIFY_WITH_TIMEOUT(servicesContain(QStringLiteral("Brevik-Z|Ghost|0a0000fe")), 10000);
        const QString name = QStringLiteral("Brevik-Z|Ghost|0a0000fe");
        QCOMPARE(pendingFor(name).size(), 1);
        QCOMPARE(pendingFor(name).first().timeout, 1500ms);
        QElapsedTimer waited;
        waited.start();
        QTRY_VERIFY_WITH_TIMEOUT(pendingFor(name).isEmpty(), 10000);
        QVERIFY(waited.elapsed() >= 1000);
        QVERIFY(!m_controller->zentrixDeviceIPs().contains(QStringLiteral("10.0.0.254")));
        QVERIFY(m_log->messages("orventa.discovery").filter(QStringLiteral("Ghost")).isEmpty());
        // Still a found service: nothing removes it but the network.
        QVERIFY(servicesContain(QStringLiteral("Brevik-Z|Ghost|0a0000fe")));
    }

    void resolutionOutlivesAvahisOwnFailureReport()
    {
        startController(); // the real timeout, 20 s
        Publisher ghost(QStringLiteral("Brevik-Z|Ghost 2|0a0000fd"),
            {QStringLiteral("-H"), QStringLiteral("nowhere-to-be-found.local")});
        QVERIFY(ghost.waitEstablished());
        QTRY_VERIFY_WITH_TIMEOUT(
            servicesContain(QStringLiteral("Brevik-Z|Ghost 2|0a0000fd")), 10000);
        const QString name = QStringLiteral("Brevik-Z|Ghost 2|0a0000fd");
        QCOMPARE(pendingFor(name).size(), 1);
        QCOMPARE(pendingFor(name).first().timeout, 20000ms);
        // Avahi says it failed (after about 5 s) but the resolution is still waited for.
        QTRY_VERIFY_WITH_TIMEOUT(browser()->resolverFailureReports() >= 1, 15000);
        QCOMPARE(pendingFor(name).size(), 1);
        QVERIFY(!m_controller->zentrixDeviceIPs().contains(QStringLiteral("10.0.0.253")));
    }

    void daemonRestartReconnectsAndListsAgain()
    {
        startController();
        {
            Publisher receiver(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
            QVERIFY(receiver.waitEstablished());
            QTRY_COMPARE_WITH_TIMEOUT(m_controller->zentrixDeviceIPs().size(), 1, 10000);
            QVERIFY(avahiCtl(QStringLiteral("restart")));
            QTRY_VERIFY_WITH_TIMEOUT(
                !m_log->messages("orventa.discovery")
                     .filter(QStringLiteral("Lost the connection to the Avahi daemon"))
                     .isEmpty(),
                10000);
        }
        // The daemon that announced it is gone, and so is the row until it is announced again.
        QTRY_VERIFY_WITH_TIMEOUT(m_controller->zentrixDeviceIPs().isEmpty(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(browser()->isConnected(), 10000);
        Publisher again(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        QVERIFY(again.waitEstablished());
        QTRY_COMPARE_WITH_TIMEOUT(
            m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("192.168.1.5")}, 10000);
    }

    // Run with several links (with-mdns-netns --two-links): Avahi reports each service once per
    // interface; the list hears of it once, and of its removal once the last instance goes.
    void oneReportPerServiceAcrossInterfaces()
    {
        startController();
        Publisher receiver(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        QVERIFY(receiver.waitEstablished());
        QTRY_COMPARE_WITH_TIMEOUT(
            m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("192.168.1.5")}, 10000);
        QProcess browse;
        browse.start(QStringLiteral("avahi-browse"),
            {QStringLiteral("-pt"), QStringLiteral("_airplay._tcp")});
        QVERIFY(browse.waitForFinished(10000));
        const QByteArray reports = browse.readAllStandardOutput();
        QVERIFY2(reports.count("+;") >= 3, reports.constData());
        QCOMPARE(servicesNamed(QStringLiteral("Brevik-X1|Room 12|c0a80105")), 1);

        receiver.stop();
        QTRY_VERIFY_WITH_TIMEOUT(m_controller->services().isEmpty(), 10000);
        QVERIFY(m_controller->zentrixDeviceIPs().isEmpty());
    }

    // Run with the daemon stopped at first (with-mdns-netns --no-daemon).
    void daemonStartedLate()
    {
        startController();
        QVERIFY(!browser()->isConnected());
        const QStringList waiting = m_log->messages("orventa.discovery")
                                        .filter(QStringLiteral("The Avahi daemon is not running"));
        QCOMPARE(waiting.size(), 1);
        QVERIFY(avahiCtl(QStringLiteral("start")));
        QTRY_VERIFY_WITH_TIMEOUT(browser()->isConnected(), 10000);
        Publisher receiver(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        QVERIFY(receiver.waitEstablished());
        QTRY_COMPARE_WITH_TIMEOUT(
            m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("192.168.1.5")}, 10000);
    }
};

QTEST_MAIN(TestAvahiDiscovery)
#include "tst_avahi_discovery.moc"
