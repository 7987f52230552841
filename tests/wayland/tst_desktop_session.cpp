// Which poster the application chooses, from the session and from what answers on the session
// bus, never from Qt's platform name. The helper runs inside real sessions: headless mutter with
// Xwayland (the application itself on xcb), headless sway, Xvfb, and a session bus where
// nothing answers.
#include "HelperProcess.h"

#include "platform/DesktopSession.h"

#include <QTest>

namespace {
const QString kSupport = QStringLiteral(ORVENTA_TEST_SUPPORT_DIR);
const QString kHelper = QStringLiteral(DESKTOP_SESSION_HELPER);

QString chosenLine(const HelperResult& result)
{
    for (const QByteArray& line : result.standardError.split('\n'))
        if (line.contains("Touches are posted with") || line.contains("cannot be posted"))
            return QString::fromUtf8(line);
    return {};
}
} // namespace

class TestDesktopSession : public QObject
{
    Q_OBJECT
private slots:
    void kindComesFromTheSession_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("wayland");
        QTest::addColumn<QString>("x11");
        QTest::addColumn<int>("kind");
        using DesktopSession::Kind;
        QTest::newRow("wayland with xwayland") << "wayland"
                                               << "wayland-0"
                                               << ":0" << int(Kind::Wayland);
        QTest::newRow("wayland, no socket name") << "wayland"
                                                 << ""
                                                 << ":0" << int(Kind::Wayland);
        QTest::newRow("x11") << "x11"
                             << ""
                             << ":0" << int(Kind::X11);
        QTest::newRow("x11 in upper case") << "X11"
                                           << ""
                                           << ":0" << int(Kind::X11);
        QTest::newRow("tty with a wayland socket") << "tty"
                                                   << "wayland-0"
                                                   << ":0" << int(Kind::Wayland);
        QTest::newRow("unset, display only") << ""
                                             << ""
                                             << ":1" << int(Kind::X11);
        QTest::newRow("nothing") << ""
                                 << ""
                                 << "" << int(Kind::Unknown);
    }

    void kindComesFromTheSession()
    {
        QFETCH(QString, type);
        QFETCH(QString, wayland);
        QFETCH(QString, x11);
        QFETCH(int, kind);
        QCOMPARE(int(DesktopSession::kindOf({type, wayland, x11})), kind);
    }

    void gnomeWithXwaylandDoesNotChooseXTest()
    {
        // The application runs through Xwayland (Qt reports xcb) on a GNOME Wayland session.
        const HelperResult result = runHelper(kSupport + QStringLiteral("/with-mutter"),
            {QStringLiteral("--xwayland"), QStringLiteral("sh"), QStringLiteral("-c"),
                QStringLiteral("test -n \"$DISPLAY\" && QT_QPA_PLATFORM=xcb exec \"$0\""),
                kHelper});
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(chosenLine(result).contains(QLatin1String("GNOME remote desktop")),
            result.standardError.constData());
    }

    void swayChoosesTheVirtualPointer()
    {
        // No RemoteDesktop portal and no mutter: the compositor's own protocol is the way.
        const HelperResult result = runHelper(kSupport + QStringLiteral("/with-sway"), {kHelper});
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(chosenLine(result).contains(QLatin1String("wlroots virtual pointer")),
            result.standardError.constData());
    }

    void x11SessionChoosesXTest()
    {
        const HelperResult result = runHelper(kSupport + QStringLiteral("/with-xvfb"), {kHelper});
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(
            chosenLine(result).contains(QLatin1String("XTest")), result.standardError.constData());
    }

    void waylandWithNothingAnsweringWarns()
    {
        const HelperResult result = runHelper(QStringLiteral("dbus-run-session"),
            {QStringLiteral("--config-file=") + QStringLiteral(PRIVATE_SESSION_BUS_CONF),
                QStringLiteral("--"), QStringLiteral("env"),
                QStringLiteral("XDG_SESSION_TYPE=wayland"),
                QStringLiteral("WAYLAND_DISPLAY=orventa-nowhere"), QStringLiteral("DISPLAY=:0"),
                QStringLiteral("QT_QPA_PLATFORM=offscreen"), kHelper});
        QCOMPARE(result.exitCode, 0);
        const QString line = chosenLine(result);
        QVERIFY2(
            line.contains(QLatin1String("Touches cannot be posted on this desktop: this Wayland "
                                        "desktop offers neither")),
            result.standardError.constData());
        QCOMPARE(result.standardError.count("cannot be posted"), 1);
    }

    void noSessionAtAllWarns()
    {
        const HelperResult result = runHelper(QStringLiteral("env"),
            {QStringLiteral("-u"), QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("-u"),
                QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("-u"), QStringLiteral("DISPLAY"),
                QStringLiteral("QT_QPA_PLATFORM=offscreen"), kHelper});
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(chosenLine(result).contains(QLatin1String("neither a Wayland nor an X11 session")),
            result.standardError.constData());
    }
};

QTEST_GUILESS_MAIN(TestDesktopSession)
#include "tst_desktop_session.moc"
