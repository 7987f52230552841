// The dashboard with its real touch socket and the XTest poster, paired with a receiver and with
// touchback switched on, as a user would have it; for the touch-path benchmark.
//   touch-path-app RECEIVER_ADDRESS [HEARTBEAT_MS]
// HEARTBEAT_MS replaces the 4 s heartbeat interval (the instruction counts use a long one: a
// heartbeat tick is timed work, not work per datagram, and a slower run under callgrind would
// otherwise count more ticks).
// Prints "ready" once the touch socket is bound and the switch has stopped animating (so the
// figures hold the touch path only); ends when standard input closes.
#include "BenchDashboard.h"
#include "dashboard/DashboardViewController.h"
#include "platform/x11/XTestEventPoster.h"

#include <QApplication>

#include <chrono>
#include <cstdio>
#include <cstdlib>

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
    BenchDashboard::pair(dashboard, QString::fromLocal8Bit(argv[1]), QStringLiteral("Bench Room"));
    BenchDashboard::setTouchback(dashboard, true);
    BenchDashboard::announceReadyWhen(&app, [&] {
        return BenchDashboard::touchSocketBound(dashboard)
            && BenchDashboard::switchSettled(dashboard);
    });
    BenchDashboard::readCommands(&app, [](const QByteArray&) {});
    return app.exec();
}
