// Service names from anyone on the network, through a real avahi-daemon in a private namespace
// (tests/support/with-mdns-netns): 63 bytes of UTF-8, "|" at every position, control characters.
// Each is handled as names are (listed, ignored, or a range error reported) and discovery goes
// on: a receiver announced afterwards is still listed.
#include "LogCapture.h"

#include "app/Backends.h"
#include "discovery/DevicesListViewController.h"

#include <QProcess>
#include <QtTest>

#include <memory>
#include <vector>

namespace {

// avahi-publish-service for one name; withdrawn when the object goes.
class Publisher
{
public:
    explicit Publisher(const QByteArray& name)
    {
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral("avahi-publish-service"),
            {QString::fromUtf8(name), QStringLiteral("_airplay._tcp"), QStringLiteral("7000")});
    }
    ~Publisher()
    {
        m_process.terminate();
        m_process.waitForFinished(5000);
    }
    bool waitEstablished()
    {
        QDeadlineTimer deadline(10000);
        while (!m_output.contains("Established under name") && !deadline.hasExpired()) {
            if (!m_process.waitForReadyRead(200) && m_process.state() == QProcess::NotRunning)
                break;
            m_output += m_process.readAll();
        }
        return m_output.contains("Established under name");
    }

private:
    QProcess m_process;
    QByteArray m_output;
};

} // namespace

class TestAvahiNames : public QObject
{
    Q_OBJECT

    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<DevicesListViewController> m_controller;

    void expectStillListing(const QByteArray& name, const QString& ip)
    {
        Publisher good(name);
        QVERIFY(good.waitEstablished());
        QTRY_VERIFY_WITH_TIMEOUT(m_controller->zentrixDeviceIPs().contains(ip), 10000);
    }

private slots:
    void initTestCase()
    {
        if (qEnvironmentVariable("ORVENTA_MDNS_NETNS") != QLatin1String("1"))
            QFAIL("runs only inside tests/support/with-mdns-netns");
    }
    void init()
    {
        m_log = std::make_unique<LogCapture>();
        Backends::installServiceBrowser();
        m_controller = std::make_unique<DevicesListViewController>();
        m_controller->loadViewIfNeeded();
    }
    void cleanup()
    {
        m_controller.reset();
        m_log.reset();
    }

    void sixtyThreeBytesOfUtf8()
    {
        // 7 + 47 + 9 = 63 bytes; the display name has 20 two-byte characters.
        const QByteArray display = "Salle " + QByteArray("\xc3\xa9").repeated(20) + "x";
        const QByteArray name = "Brevik|" + display + "|c0a80107";
        QCOMPARE(name.size(), 63);
        Publisher receiver(name);
        QVERIFY(receiver.waitEstablished());
        QTRY_COMPARE_WITH_TIMEOUT(
            m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("192.168.1.7")}, 10000);
        QCOMPARE(m_controller->zentrixDeviceNames(), QStringList {QString::fromUtf8(display)});
    }

    void barAtEveryPosition()
    {
        // 63 names of 63 bytes, one "|" each, at every position; and one of nothing but "|".
        std::vector<std::unique_ptr<Publisher>> publishers;
        const QByteArray base = "Brevik" + QByteArray(57, 'a');
        for (int at = 0; at < 63; ++at) {
            QByteArray name = base;
            name[at] = '|';
            publishers.push_back(std::make_unique<Publisher>(name));
        }
        publishers.push_back(std::make_unique<Publisher>(QByteArray(63, '|')));
        for (auto& publisher : publishers)
            QVERIFY(publisher->waitEstablished());
        // Each has two pieces at most: not listed; a two-piece name of the make is the
        // reported range error, and discovery goes on.
        QTRY_VERIFY_WITH_TIMEOUT(!m_log->messages("orventa.platform")
                                      .filter(QStringLiteral("Uncaught exception"))
                                      .isEmpty(),
            10000);
        expectStillListing("Brevik|After Bars|0a000008", QStringLiteral("10.0.0.8"));
        QCOMPARE(m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("10.0.0.8")});
    }

    void controlCharacters()
    {
        const QByteArray name = "Brevik\x01\x7f|Room\tTab\x1b[31m|c0a80109";
        Publisher receiver(name);
        QVERIFY(receiver.waitEstablished());
        QTRY_COMPARE_WITH_TIMEOUT(
            m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("192.168.1.9")}, 10000);
        QCOMPARE(
            m_controller->zentrixDeviceNames(), QStringList {QStringLiteral("Room\tTab\x1b[31m")});
        expectStillListing("Orventa|Next|0a00000a", QStringLiteral("10.0.0.10"));
    }
};

QTEST_MAIN(TestAvahiNames)
#include "tst_avahi_names.moc"
