// Discovery inside the receiver list controller, fed by a fake browser: the Found, Resolved and
// Removed steps, their filters and log lines, and the address decoding.
#include "FakeServiceBrowser.h"
#include "LogCapture.h"

#include "discovery/DevicesListViewController.h"
#include "discovery/HexValue.h"

#include <QtTest>

#include <memory>

using namespace std::chrono_literals;

class TestDiscoveryRecords : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DevicesListViewController> m_controller;
    FakeServiceBrowser* m_browser = nullptr;
    std::unique_ptr<LogCapture> m_log;

    QStringList discoveryLog() const { return m_log->messages("orventa.discovery"); }
    QStringList uncaught() const
    {
        return m_log->messages("orventa.platform").filter(QStringLiteral("Uncaught exception"));
    }

private Q_SLOTS:
    void init()
    {
        FakeServiceBrowser::install();
        m_controller = std::make_unique<DevicesListViewController>();
        m_controller->loadViewIfNeeded();
        m_browser = FakeServiceBrowser::of(m_controller.get());
        QVERIFY(m_browser);
        m_log = std::make_unique<LogCapture>();
    }

    void cleanup()
    {
        m_log.reset();
        m_controller.reset();
    }

    void browsingStartsWhenTheViewLoads()
    {
        DevicesListViewController controller;
        QVERIFY(!controller.browser());
        QVERIFY(!controller.isViewLoaded());
        controller.show();
        QVERIFY(controller.isViewLoaded());
        auto* browser = FakeServiceBrowser::of(&controller);
        QVERIFY(browser);
        QCOMPARE(browser->searchedType(), QStringLiteral("_airplay._tcp"));
        QCOMPARE(browser->searchedDomain(), QStringLiteral("local."));
        QCOMPARE(browser->searchCount(), 1);
        QCOMPARE(browser->delegate(), static_cast<ServiceBrowserDelegate*>(&controller));

        // Hiding and showing again neither stops nor restarts it.
        controller.hide();
        controller.show();
        controller.loadViewIfNeeded();
        QCOMPARE(FakeServiceBrowser::of(&controller), browser);
        QCOMPARE(browser->searchCount(), 1);
        QVERIFY(controller.zentrixDeviceIPs().isEmpty());
        QVERIFY(controller.zentrixDeviceNames().isEmpty());
        QVERIFY(controller.zentrixDeviceHex().isEmpty());
        QVERIFY(controller.services().isEmpty());
        QVERIFY(!controller.netService().has_value());
    }

    void withoutABrowserNothingIsDiscovered()
    {
        DevicesListViewController::setBrowserFactory({});
        DevicesListViewController controller;
        controller.loadViewIfNeeded();
        QVERIFY(!controller.browser());
        QVERIFY(discoveryLog().filter(QStringLiteral("No service browser installed")).size() == 1);
    }

    void foundServicesAreKeptAndResolvedWithTwentySeconds()
    {
        m_browser->find(QStringLiteral("Receiver|Den|c0a80106"));
        m_browser->find(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        m_browser->find(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        QCOMPARE(m_controller->services().size(), 3); // no filter, no duplicate test
        QCOMPARE(m_controller->services().at(1).name, QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        QCOMPARE(m_browser->resolveRequests().size(), 3);
        for (const auto& request : m_browser->resolveRequests())
            QCOMPARE(request.timeout, 20000ms);
        // Found alone lists nothing.
        QVERIFY(m_controller->zentrixDeviceIPs().isEmpty());
        QCOMPARE(m_controller->numberOfRowsInTableView(nullptr), 0);
        QVERIFY(discoveryLog().isEmpty());
    }

    void aReceiverIsListedWithItsDecodedAddress()
    {
        m_browser->appear(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        QCOMPARE(m_controller->zentrixDeviceNames(), QStringList {QStringLiteral("Room 12")});
        QCOMPARE(m_controller->zentrixDeviceHex(), QStringList {QStringLiteral("c0a80105")});
        QCOMPARE(m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("192.168.1.5")});
        QCOMPARE(discoveryLog(),
            (QStringList {QStringLiteral("Resolved address for service Brevik-X1|Room 12|c0a80105"),
                QStringLiteral("Resolved address for service Room 12 : c0a80105")}));
        QCOMPARE(m_controller->numberOfRowsInTableView(nullptr), 1);

        m_browser->disappear(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        QVERIFY(m_controller->zentrixDeviceIPs().isEmpty());
        QVERIFY(m_controller->zentrixDeviceNames().isEmpty());
        QVERIFY(m_controller->zentrixDeviceHex().isEmpty());
        QVERIFY(m_controller->services().isEmpty());
    }

    void receiversAreListedInTheOrderTheyResolve()
    {
        m_browser->find(QStringLiteral("Brevik|A|0a000001"));
        m_browser->find(QStringLiteral("Brevik|B|0a000002"));
        QVERIFY(m_browser->resolvePending(QStringLiteral("Brevik|B|0a000002")));
        QVERIFY(m_browser->resolvePending(QStringLiteral("Brevik|A|0a000001")));
        QCOMPARE(m_controller->zentrixDeviceNames(),
            (QStringList {QStringLiteral("B"), QStringLiteral("A")}));
    }

    void orventaStaysListedAfterRemoval()
    {
        m_browser->appear(QStringLiteral("ORVENTA box|Hall|0a000001"));
        QCOMPARE(m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("10.0.0.1")});
        m_browser->disappear(QStringLiteral("ORVENTA box|Hall|0a000001"));
        QCOMPARE(m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("10.0.0.1")});
        QCOMPARE(m_controller->zentrixDeviceNames(), QStringList {QStringLiteral("Hall")});
        QVERIFY(m_controller->services().isEmpty());
    }

    void lowerCaseBrevikStaysListedAfterRemoval()
    {
        m_browser->appear(QStringLiteral("brevik|Lab|0a000002"));
        QCOMPARE(m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("10.0.0.2")});
        m_browser->disappear(QStringLiteral("brevik|Lab|0a000002"));
        QCOMPARE(m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("10.0.0.2")});
        QCOMPARE(m_controller->zentrixDeviceHex(), QStringList {QStringLiteral("0a000002")});
    }

    void aListedAddressOrCodeAddsNothingButIsLogged()
    {
        m_browser->appear(QStringLiteral("Brevik-A|One|c0a80105"));
        m_log->clear();
        // Same address, other spelling of the code.
        m_browser->appear(QStringLiteral("Brevik-B|Two|C0A80105"));
        // Same code.
        m_browser->appear(QStringLiteral("Orventa-C|Three|c0a80105"));
        QCOMPARE(m_controller->zentrixDeviceNames(), QStringList {QStringLiteral("One")});
        QCOMPARE(m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("192.168.1.5")});
        QCOMPARE(discoveryLog(),
            (QStringList {QStringLiteral("Resolved address for service Brevik-B|Two|C0A80105"),
                QStringLiteral("Resolved address for service Two : C0A80105"),
                QStringLiteral("Resolved address for service Orventa-C|Three|c0a80105"),
                QStringLiteral("Resolved address for service Three : c0a80105")}));
    }

    void otherMakesAreNeverListed()
    {
        m_browser->appear(QStringLiteral("Receiver|Den|c0a80106"));
        QVERIFY(m_controller->zentrixDeviceIPs().isEmpty());
        QCOMPARE(discoveryLog(),
            QStringList {QStringLiteral("Resolved address for service Receiver|Den|c0a80106")});
        QCOMPARE(m_controller->services().size(), 1);
    }

    void aOnePieceNameIsIgnored()
    {
        m_browser->appear(QStringLiteral("Brevik"));
        QVERIFY(m_controller->zentrixDeviceIPs().isEmpty());
        QCOMPARE(
            discoveryLog(), QStringList {QStringLiteral("Resolved address for service Brevik")});
        m_browser->disappear(QStringLiteral("Brevik"));
        QVERIFY(uncaught().isEmpty());
        QVERIFY(m_controller->services().isEmpty());
    }

    void aTwoPieceNameRaisesARangeError()
    {
        m_browser->appear(QStringLiteral("Brevik|Hall"));
        QCOMPARE(uncaught().size(), 1);
        QVERIFY(uncaught().first().contains(QStringLiteral("out_of_range")));
        QVERIFY(uncaught().first().contains(QStringLiteral("Brevik|Hall")));
        QCOMPARE(discoveryLog(),
            QStringList {QStringLiteral("Resolved address for service Brevik|Hall")});
        QVERIFY(m_controller->zentrixDeviceIPs().isEmpty());

        // The application goes on: the next good receiver is listed.
        m_browser->appear(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        QCOMPARE(m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("192.168.1.5")});

        // The removal step reads the same missing piece.
        m_browser->disappear(QStringLiteral("Brevik|Hall"));
        QCOMPARE(uncaught().size(), 2);
        QVERIFY(uncaught().last().contains(QStringLiteral("out_of_range")));
    }

    void aShortAddressCodeRaisesARangeError()
    {
        m_browser->appear(QStringLiteral("Brevik|Short|c0a801"));
        QCOMPARE(uncaught().size(), 1);
        QVERIFY(uncaught().first().contains(QStringLiteral("out_of_range")));
        QVERIFY(m_controller->zentrixDeviceIPs().isEmpty());
    }

    void extraPiecesAndCharactersAreIgnored()
    {
        m_browser->appear(QStringLiteral("Brevik|Far|0a0000020304|more|pieces"));
        QCOMPARE(m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("10.0.0.2")});
        QCOMPARE(m_controller->zentrixDeviceHex(), QStringList {QStringLiteral("0a0000020304")});
    }

    void removalIsByValueAndLeavesTheListsUneven()
    {
        m_browser->appear(QStringLiteral("Brevik|Room|0a000001"));
        m_browser->appear(QStringLiteral("Brevik|Room|0a000002"));
        QCOMPARE(m_controller->zentrixDeviceNames().size(), 2);
        m_browser->disappear(QStringLiteral("Brevik|Room|0a000001"));
        QVERIFY(m_controller->zentrixDeviceNames().isEmpty());
        QCOMPARE(m_controller->zentrixDeviceIPs(), QStringList {QStringLiteral("10.0.0.2")});
        QCOMPARE(m_controller->zentrixDeviceHex(), QStringList {QStringLiteral("0a000002")});
        QCOMPARE(m_controller->numberOfRowsInTableView(nullptr), 1);
    }

    void removalDropsEveryEqualService()
    {
        m_browser->find(QStringLiteral("Receiver|Den|c0a80106"));
        m_browser->find(QStringLiteral("Receiver|Den|c0a80106"));
        m_browser->find(QStringLiteral("Brevik|X|0a000001"));
        m_browser->remove(QStringLiteral("Receiver|Den|c0a80106"));
        QCOMPARE(m_controller->services().size(), 1);
        QCOMPARE(m_controller->services().first().name, QStringLiteral("Brevik|X|0a000001"));
    }

    void removalOfAnUnlistedReceiverChangesNothing()
    {
        m_browser->appear(QStringLiteral("Brevik|A|0a000001"));
        m_browser->disappear(QStringLiteral("Brevik|A|0a000009"));
        m_browser->disappear(QStringLiteral("Brevik|B|0a000001x"));
        QCOMPARE(m_controller->zentrixDeviceNames(), QStringList {QStringLiteral("A")});
    }

    void serviceEquality()
    {
        const NetService a {QStringLiteral("n"), QStringLiteral("t"), QStringLiteral("d")};
        QVERIFY(a == (NetService {QStringLiteral("n"), QStringLiteral("t"), QStringLiteral("d")}));
        QVERIFY(!(a == NetService {QStringLiteral("n"), QStringLiteral("t"), QStringLiteral("x")}));
        QVERIFY(!(a == NetService {QStringLiteral("n"), QStringLiteral("u"), QStringLiteral("d")}));
        QVERIFY(!(a == NetService {QStringLiteral("m"), QStringLiteral("t"), QStringLiteral("d")}));
    }

    void hexValueReadsLikeScanf_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<quint32>("value");
        QTest::newRow("zz") << QStringLiteral("zz") << quint32(0);
        QTest::newRow("0x1F") << QStringLiteral("0x1F") << quint32(31);
        QTest::newRow("lower") << QStringLiteral("ff") << quint32(255);
        QTest::newRow("upper") << QStringLiteral("A8") << quint32(168);
        QTest::newRow("blanks") << QStringLiteral("  \t1f") << quint32(31);
        QTest::newRow("stops") << QStringLiteral("1fzz") << quint32(31);
        QTest::newRow("digit then letter") << QStringLiteral("5z") << quint32(5);
        QTest::newRow("empty") << QString() << quint32(0);
        QTest::newRow("bare 0x") << QStringLiteral("0x") << quint32(0);
        QTest::newRow("wide") << QStringLiteral("ffffffff") << quint32(0xffffffffu);
    }

    void hexValueReadsLikeScanf()
    {
        QFETCH(QString, text);
        QFETCH(quint32, value);
        QCOMPARE(hexValue(text), value);
    }

    void addressesFromCodes_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("address");
        QTest::newRow("c0a80105") << QStringLiteral("c0a80105") << QStringLiteral("192.168.1.5");
        QTest::newRow("0A00000A") << QStringLiteral("0A00000A") << QStringLiteral("10.0.0.10");
        QTest::newRow("c0a8zz05") << QStringLiteral("c0a8zz05") << QStringLiteral("192.168.0.5");
        QTest::newRow("ffffffff") << QStringLiteral("ffffffff")
                                  << QStringLiteral("255.255.255.255");
    }

    void addressesFromCodes()
    {
        QFETCH(QString, code);
        QFETCH(QString, address);
        const QStringList pieces = m_controller->hexArrayFromString(code);
        QCOMPARE(pieces.size(), 4);
        QCOMPARE(pieces.join(QString()), code);
        QCOMPARE(m_controller->formattedStringFromAddressComponents(pieces), address);
    }

    void formattingAnyNumberOfComponents()
    {
        QCOMPARE(m_controller->formattedStringFromAddressComponents({}), QString());
        QCOMPARE(m_controller->formattedStringFromAddressComponents({QStringLiteral("0a")}),
            QStringLiteral("10"));
        QCOMPARE(m_controller->formattedStringFromAddressComponents(
                     {QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3"),
                         QStringLiteral("4"), QStringLiteral("5")}),
            QStringLiteral("1.2.3.4.5"));
        // Written as a signed number, as "%d" writes it.
        QCOMPARE(m_controller->formattedStringFromAddressComponents({QStringLiteral("ffffffff")}),
            QStringLiteral("-1"));
        QCOMPARE(m_controller->hexArrayFromString(QStringLiteral("c0a80105")),
            (QStringList {QStringLiteral("c0"), QStringLiteral("a8"), QStringLiteral("01"),
                QStringLiteral("05")}));
        QVERIFY_THROWS_EXCEPTION(
            std::out_of_range, m_controller->hexArrayFromString(QStringLiteral("c0a8010")));
    }

    void errorAndCompletenessHelpers()
    {
        m_controller->handleError(-72004,
            {QStringLiteral("Brevik|A|0a000001"), QStringLiteral("_airplay._tcp."),
                QStringLiteral("local.")});
        QCOMPARE(discoveryLog(),
            QStringList {
                QStringLiteral("An error occurred with service "
                               "Brevik|A|0a000001._airplay._tcp..local., error code = -72004")});
        QVERIFY(m_controller->addressesComplete({}, QStringLiteral("_airplay._tcp")));
        QVERIFY(m_controller->addressesComplete({QStringLiteral("x")}, QString()));
    }
};

QTEST_MAIN(TestDiscoveryRecords)
#include "tst_discovery_records.moc"
