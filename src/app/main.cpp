#include "app/AppDelegate.h"
#include "app/Backends.h"
#include "app/MainStoryboard.h"
#include "app/MainWindow.h"
#include "app/SplashScreenViewController.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

namespace {
bool hasDisplay()
{
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith("xcb") && !platform.startsWith("wayland"))
        return true;
    return !qEnvironmentVariableIsEmpty("DISPLAY")
        || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}
} // namespace

int main(int argc, char** argv)
{
    if (!hasDisplay()) {
        std::fprintf(stderr,
            "orventa-companion: no display found (DISPLAY is not set); to run it without one, "
            "start it under Xvfb: xvfb-run -s '-screen 0 1440x900x24' %s\n",
            argv[0]);
        return EXIT_FAILURE;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("orventa-companion"));
    QApplication::setApplicationDisplayName(QStringLiteral("ORVENTA Companion"));
    // Names the installed .desktop file, so that docks and task switchers show our name and icon.
    QGuiApplication::setDesktopFileName(QStringLiteral("com.orventa.companion"));
    MainStoryboard::registerControllers();
    Backends::installServiceBrowser();
    Backends::installEventPoster();

    AppDelegate delegate;
    delegate.attach(app);

    MainWindow window;
    window.setWindowTitle(QStringLiteral("ORVENTA Companion"));
    window.setContentViewController(new SplashScreenViewController(&window));
    window.show();
    delegate.applicationDidFinishLaunching();
    return app.exec();
}
