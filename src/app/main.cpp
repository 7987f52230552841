#include "platform/Logging.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>

#include <cstdio>
#include <cstdlib>

namespace {
bool hasDisplay()
{
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith("xcb") && !platform.startsWith("wayland"))
        return true;
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}
} // namespace

int main(int argc, char** argv)
{
    if (!hasDisplay()) {
        std::fputs("orventa-companion: no display found (DISPLAY is not set); to run it without "
                   "one, start it under Xvfb: xvfb-run -s '-screen 0 1440x900x24' "
                   "orventa-companion\n",
                   stderr);
        return EXIT_FAILURE;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("orventa-companion"));
    QApplication::setApplicationDisplayName(QStringLiteral("ORVENTA Companion"));

    QMainWindow window;
    window.setWindowTitle(QStringLiteral("ORVENTA Companion"));
    window.setCentralWidget(new QLabel(QStringLiteral("ORVENTA Companion"), &window));
    window.resize(900, 600);
    window.show();
    return app.exec();
}
