// Feeds touch reports to the XTest backend in a process that has no X display.
#include "input/MouseSimulate.h"
#include "platform/StdoutLine.h"
#include "platform/x11/XTestEventPoster.h"

#include <QGuiApplication>

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    installXTestEventPoster();
    MouseSimulate simulate;
    for (const char* event : {"DOWN", "MOVE", "UP", "UP"})
        simulate.initiateMouseEvent(QString::fromUtf8(event), QStringLiteral("16384"),
            QStringLiteral("16384"), QStringLiteral("0"));
    simulate.rightClick(QPointF(1, 1));
    StdoutLine::print("still running");
    return 0;
}
