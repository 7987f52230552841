// Turns touchback's poster on the way the dashboard does and ends once the backend is chosen;
// the choice (or the warning) is in the log on standard error.
#include "app/Backends.h"
#include "app/DesktopEventPoster.h"

#include <QGuiApplication>
#include <QTimer>

#include <cstdio>

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    Backends::installEventPoster();
    auto* poster = dynamic_cast<DesktopEventPoster*>(MouseEventPoster::defaultPoster());
    if (!poster)
        return 2;
    QObject::connect(poster, &DesktopEventPoster::backendChosen, &app, [] {
        std::puts("chosen");
        QCoreApplication::quit();
    });
    QTimer::singleShot(20000, &app, [] { QCoreApplication::exit(3); });
    // From the event loop, as the dashboard does: the choice can be made at once.
    QTimer::singleShot(0, poster, &DesktopEventPoster::prepare);
    return app.exec();
}
