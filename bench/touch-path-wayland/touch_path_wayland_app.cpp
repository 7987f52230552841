// The dashboard with its real touch socket and the application's own poster choice (on
// headless mutter: GNOME's remote desktop service), paired with a receiver and with touchback
// switched on, as a user would have it; for the touch-path-wayland benchmark.
//   touch-path-wayland-app RECEIVER_ADDRESS
// Prints "ready" once the touch socket is bound, the switch has stopped animating and the
// desktop session runs; ends when standard input closes.
#include "app/Backends.h"
#include "app/DesktopEventPoster.h"
#include "controls/OrbSwitch.h"
#include "dashboard/DashboardViewController.h"
#include "platform/wayland/MutterRemoteDesktopPoster.h"

#include <QApplication>
#include <QHostAddress>
#include <QSocketNotifier>
#include <QTimer>
#include <QUdpSocket>
#include <QVariantAnimation>

#include <cstdio>
#include <unistd.h>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: touch-path-wayland-app RECEIVER_ADDRESS\n");
        return 2;
    }
    Backends::installEventPoster();
    auto* poster = dynamic_cast<DesktopEventPoster*>(MouseEventPoster::defaultPoster());
    DashboardViewController dashboard;
    dashboard.resize(900, 600);
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
        auto* mutter
            = poster ? dynamic_cast<MutterRemoteDesktopPoster*>(poster->backend()) : nullptr;
        if (socket && socket->state() == QAbstractSocket::BoundState && settled && mutter
            && mutter->isRunning()) {
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
