// Runs one session scenario that must end the process with a fatal error, for the session tests:
//   session_helper disconnect-during-switch
// Exits with 3 if the scenario ended without one.
#include "app/MainStoryboard.h"
#include "controls/OrbSwitch.h"
#include "dashboard/DashboardViewController.h"
#include "platform/Fonts.h"

#include <QApplication>
#include <QTimer>

#include <cstdio>

using namespace std::chrono_literals;

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    Fonts::loadApplicationFonts();
    MainStoryboard::registerControllers();
    const QByteArray scenario = argc > 1 ? QByteArray(argv[1]) : QByteArray();
    if (scenario != "disconnect-during-switch") {
        std::fprintf(stderr, "usage: session_helper disconnect-during-switch\n");
        return 2;
    }
    // Switch touchback with a receiver where nothing listens, then a disconnect: the timer and
    // the socket stay, and the next tick pings with no receiver address.
    DashboardViewController::setPingIntervalForTesting(100ms);
    DashboardViewController dashboard;
    dashboard.show();
    dashboard.didPickCastingDeviceWithIP(
        QStringLiteral("127.0.0.2"), QStringLiteral("7f000002"), QStringLiteral("Room 12"));
    dashboard.wirelessTouchSwitch()->setChecked(true);
    dashboard.wirelessTouchSwitchToggled(dashboard.wirelessTouchSwitch());
    dashboard.deviceDisconnecetd();
    QTimer::singleShot(5000, &app, [] {
        std::fprintf(stderr, "session_helper: no fatal error within 5 s\n");
        QCoreApplication::exit(3);
    });
    return app.exec();
}
