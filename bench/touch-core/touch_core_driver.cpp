// Feeds MOVE touch reports through MouseSimulate and the XTest backend, the way the touchback
// session hands them over (four texts per report).
//   touch-core-driver N     posts N MOVE reports spread over the screen, then exits
#include "input/MouseSimulate.h"
#include "platform/x11/XTestEventPoster.h"

#include <QGuiApplication>
#include <QList>

#include <cstdio>
#include <cstdlib>

namespace {
struct Report
{
    QString event, x, y, timeStamp;
};
} // namespace

// The measured loop (callgrind collects inside this function only).
extern "C" __attribute__((noinline)) void run_reports(
    void* simulator, const void* reports, int count)
{
    auto* simulate = static_cast<MouseSimulate*>(simulator);
    const auto* list = static_cast<const Report*>(reports);
    for (int i = 0; i < count; ++i)
        simulate->initiateMouseEvent(list[i].event, list[i].x, list[i].y, list[i].timeStamp);
}

int main(int argc, char** argv)
{
    const int count = argc > 1 ? std::atoi(argv[1]) : 1000;
    QGuiApplication app(argc, argv);
    installXTestEventPoster();
    MouseSimulate simulate;

    QList<Report> reports;
    reports.reserve(count);
    for (int i = 0; i < count; ++i)
        reports.append({QStringLiteral("MOVE"), QString::number((i * 7919) % 32768),
            QString::number((i * 104729) % 32768), QString::number(1700000000000LL + i)});
    run_reports(&simulate, reports.constData(), count);
    std::printf("posted=%d\n", count);
    return 0;
}
