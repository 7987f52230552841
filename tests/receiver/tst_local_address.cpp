// The local address rule, checked in private network namespaces that each case builds itself
// (unshare --net, a veth pair): the machine's own interfaces are never touched.
#include <QProcess>
#include <QTest>

namespace {

QByteArray addressIn(const QString& setup)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral("unshare"),
        {QStringLiteral("--net"), QStringLiteral("sh"), QStringLiteral("-ec"),
            QStringLiteral("ip link set lo up\n"
                           "ip link add v0 type veth peer name v1\n"
                           "ip link set v0 up\nip link set v1 up\n")
                + setup + QStringLiteral("\nexec \"$0\" address"),
            QStringLiteral(RECEIVER_HELPER)});
    if (!process.waitForFinished(10000) || process.exitCode() != 0)
        return "failed";
    const QByteArray out = process.readAllStandardOutput();
    const QList<QByteArray> lines = out.split('\n');
    const QByteArray address = lines.value(0).mid(8);
    // Both request classes use this one routine.
    if (lines.value(1) != "ping=" + address)
        return "mismatch";
    return address;
}

} // namespace

class LocalAddressTest : public QObject
{
    Q_OBJECT

private slots:
    void rule_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QByteArray>("address");
        const QString addresses = QStringLiteral("ip addr add 10.1.0.5/24 dev v0\n"
                                                 "ip addr add 10.2.0.7/24 dev v0\n"
                                                 "ip -6 addr add fd00::5/64 dev v0 nodad\n"
                                                 "ip addr add 10.3.0.9/24 dev v1\n");
        QTest::newRow("last IPv4 address of the default-route interface")
            << addresses + QStringLiteral("ip route add default via 10.1.0.1 dev v0")
            << QByteArray("10.2.0.7");
        QTest::newRow("no default route") << addresses << QByteArray("");
        QTest::newRow("another interface carries the route")
            << addresses + QStringLiteral("ip route add default via 10.3.0.1 dev v1")
            << QByteArray("10.3.0.9");
        QTest::newRow("only IPv6 on the default-route interface") << QStringLiteral(
            "ip -6 addr add fd00::5/64 dev v0 nodad\n"
            "ip addr add 10.3.0.9/24 dev v1\n"
            "ip route add default dev v0") << QByteArray("");
        QTest::newRow("first default route wins") << addresses
                + QStringLiteral("ip route add default via 10.3.0.1 dev v1 metric 5\n"
                                 "ip route add default via 10.1.0.1 dev v0 metric 10")
                                                  << QByteArray("10.3.0.9");
        QTest::newRow("a tun-like entry without address is passed over") << addresses
                + QStringLiteral("ip tuntap add t0 mode tun\nip link set t0 up\n"
                                 "ip route add default via 10.1.0.1 dev v0")
                                                                         << QByteArray("10.2.0.7");
    }

    void rule()
    {
        QFETCH(QString, setup);
        QFETCH(QByteArray, address);
        QCOMPARE(addressIn(setup), address);
    }
};

QTEST_GUILESS_MAIN(LocalAddressTest)
#include "tst_local_address.moc"
