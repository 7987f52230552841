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

// On a Wayland desktop the window is a native Wayland client. Qt alone would pick xcb (through
// Xwayland) whenever XDG_SESSION_TYPE is not "wayland" and DISPLAY is set; Xwayland is only the
// fallback when the Wayland platform cannot start.
void preferWayland()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")
        && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "wayland;xcb");
}
} // namespace

int main(int argc, char** argv)
{
    if (!hasDisplay()) {
        std::fprintf(stderr,
            "orventa-companion: no display found (neither WAYLAND_DISPLAY nor DISPLAY is set); "
            "to run it without one, "
            "start it under Xvfb: xvfb-run -s '-screen 0 1440x900x24' %s\n",
            argv[0]);
        return EXIT_FAILURE;
    }
    preferWayland();
    QApplication app(argc, argv);
    // One application id names the installed .desktop file, the metainfo and the icon. On X11
    // the application name becomes the window's WM_CLASS class, on Wayland the desktop file
    // name becomes the app id: either way launchers group the window under our icon.
    const QString applicationId = QStringLiteral("com.orventa.companion");
    QApplication::setApplicationName(applicationId);
    QApplication::setApplicationDisplayName(QStringLiteral("ORVENTA Companion"));
    QGuiApplication::setDesktopFileName(applicationId);
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
