// Benchmark driver: the real receiver list controller with the Avahi backend. Prints "ready"
// once browsing, then "listed <address> <unix ns>" for every receiver row that appears and
// "gone <address> <unix ns>" for every one that goes.
#include "app/Backends.h"
#include "discovery/DevicesListViewController.h"
#include "platform/avahi/AvahiNetServiceBrowser.h"

#include <QApplication>
#include <QSet>
#include <QTimer>

#include <chrono>
#include <cstdio>

namespace {

long long nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    Backends::installServiceBrowser();
    DevicesListViewController controller;
    controller.loadViewIfNeeded();
    auto* browser = qobject_cast<AvahiNetServiceBrowser*>(controller.browser());

    bool ready = false;
    QSet<QString> listed;
    QTimer poll; // 1 ms: well below the mDNS times measured
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (!ready && browser->isConnected()) {
            ready = true;
            std::printf("ready\n");
        }
        const QSet<QString> now(
            controller.zentrixDeviceIPs().cbegin(), controller.zentrixDeviceIPs().cend());
        for (const QString& ip : now - listed)
            std::printf("listed %s %lld\n", qPrintable(ip), nowNs());
        for (const QString& ip : listed - now)
            std::printf("gone %s %lld\n", qPrintable(ip), nowNs());
        std::fflush(stdout);
        listed = now;
    });
    poll.start(1);
    return app.exec();
}
