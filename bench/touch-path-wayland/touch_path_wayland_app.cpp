// The dashboard with its real touch socket and the application's own poster choice (on
// headless mutter: GNOME's remote desktop service; on sway: the wlroots virtual pointer), paired
// with a receiver and with touchback switched on, as a user would have it; for the
// touch-path-wayland benchmark.
//   touch-path-wayland-app RECEIVER_ADDRESS
// Prints "ready" once the touch socket is bound, the switch has stopped animating and the
// desktop session runs; ends when standard input closes.
#include "BenchDashboard.h"
#include "app/Backends.h"
#include "app/DesktopEventPoster.h"
#include "dashboard/DashboardViewController.h"
#include "platform/wayland/MutterRemoteDesktopPoster.h"
#include "platform/wayland/WlrVirtualPointerPoster.h"

#include <QApplication>

#include <cstdio>

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
    BenchDashboard::pair(dashboard, QString::fromLocal8Bit(argv[1]), QStringLiteral("Bench Room"));
    BenchDashboard::setTouchback(dashboard, true);
    BenchDashboard::announceReadyWhen(&app, [&] {
        MouseEventPoster* backend = poster ? poster->backend() : nullptr;
        auto* mutter = dynamic_cast<MutterRemoteDesktopPoster*>(backend);
        auto* wlroots = dynamic_cast<WlrVirtualPointerPoster*>(backend);
        const bool posting = (mutter && mutter->isRunning()) || (wlroots && wlroots->isRunning());
        return BenchDashboard::touchSocketBound(dashboard)
            && BenchDashboard::switchSettled(dashboard) && posting;
    });
    BenchDashboard::readCommands(&app, [](const QByteArray&) {});
    return app.exec();
}
