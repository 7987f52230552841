// Drives the mouse synthesiser into one of its fatal errors, chosen on the command line.
#include "ManualClock.h"
#include "RecordingEventPoster.h"
#include "input/MouseSimulate.h"

#include <QByteArray>

#include <cstdio>
#include <limits>

int main(int argc, char** argv)
{
    const QByteArray mode = argc > 1 ? argv[1] : "";
    RecordingEventPoster poster;
    ManualClock clock;
    MouseSimulate simulate(poster, clock);
    const auto report = [&](const char* name) {
        simulate.initiateMouseEvent(
            QString::fromUtf8(name), QStringLiteral("100"), QStringLiteral("100"), qint64(0));
    };

    if (mode == "no-screen") {
        poster.screenSize.reset();
        report("MOVE");
    } else if (mode == "create-down") {
        poster.failingMouseKinds = {MouseEventKind::LeftDown};
        report("DOWN");
    } else if (mode == "create-drag") {
        poster.failingMouseKinds = {MouseEventKind::LeftDragged};
        report("MOVE");
    } else if (mode == "create-first-up") {
        poster.failingMouseKinds = {MouseEventKind::LeftUp};
        report("UP");
    } else if (mode == "create-late-up") {
        report("UP");
        poster.failingMouseKinds = {MouseEventKind::LeftUp};
        clock.advanceMilliseconds(801);
        report("UP");
    } else if (mode == "create-double-click") {
        report("UP");
        poster.failingMouseKinds = {MouseEventKind::LeftDown};
        report("UP");
    } else if (mode == "create-left-click") {
        poster.failingMouseKinds = {MouseEventKind::LeftUp};
        simulate.leftClick(QPointF(1, 1));
    } else if (mode == "clock-nan") {
        clock.setSeconds(std::numeric_limits<double>::quiet_NaN());
        report("DOWN");
    } else if (mode == "clock-range") {
        clock.setSeconds(1e17);
        report("DOWN");
    } else if (mode == "elapsed-overflow") {
        simulate.setSingleClickCount(1);
        simulate.setMouseUpTime(std::numeric_limits<qint64>::min());
        report("UP");
    }
    // Reaching this line means the mode did not end the process.
    std::fprintf(
        stdout, "survived %s (%d events)\n", mode.constData(), int(poster.entries().size()));
    return 0;
}
