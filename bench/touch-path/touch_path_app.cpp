// The dashboard with its real touch socket and the XTest poster, paired with a receiver and with
// touchback switched on, as a user would have it; for the touch-path benchmark.
//   touch-path-app RECEIVER_ADDRESS [HEARTBEAT_MS]
// HEARTBEAT_MS replaces the 4 s heartbeat interval (the instruction counts use a long one: a
// heartbeat tick is timed work, not work per datagram, and a slower run under callgrind would
// otherwise count more ticks).
// Prints "ready" once the touch socket is bound and the switch has stopped animating (so the
// figures hold the touch path only); ends when standard input closes.
#include "controls/OrbSwitch.h"
#include "dashboard/DashboardViewController.h"
#include "platform/x11/XTestEventPoster.h"

#include <QApplication>
#include <QHostAddress>
#include <QSocketNotifier>
#include <QTimer>
#include <QUdpSocket>
#include <QVariantAnimation>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: touch-path-app RECEIVER_ADDRESS [HEARTBEAT_MS]\n");
        return 2;
    }
    if (argc > 2)
        DashboardViewController::setPingIntervalForTesting(
            std::chrono::milliseconds(std::atoll(argv[2])));
    installXTestEventPoster();
    DashboardViewController dashboard;
    // The benchmark's touches land outside this rectangle (see run.sh).
    dashboard.setGeometry(0, 0, 900, 600);
    dashboard.show();
    const QString receiver = QString::fromLocal8Bit(argv[1]);
    const quint32 ip = QHostAddress(receiver).toIPv4Address();
    dashboard.didPickCastingDeviceWithIP(
        receiver, QString::number(ip, 16).rightJustified(8, u'0'), QStringLiteral("Bench Room"));
    dashboard.wirelessTouchSwitch()->setChecked(true);
    dashboard.wirelessTouchSwitchToggled(dashboard.wirelessTouchSwitch());

    QTimer readiness;
    QObject::connect(&readiness, &QTimer::timeout, &app, [&] {
        QUdpSocket* socket = dashboard.sendUdpSocket();
        const bool settled = dashboard.wirelessTouchSwitch()->layerAnimation()->state()
            == QAbstractAnimation::Stopped;
        if (socket && socket->state() == QAbstractSocket::BoundState && settled) {
            readiness.stop();
            std::printf("ready\n");
            std::fflush(stdout);
        }
    });
    readiness.start(10);

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char buffer[256];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) <= 0)
            QCoreApplication::quit();
    });
    return app.exec();
}
