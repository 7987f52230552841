#include "BenchDashboard.h"

#include "controls/OrbSwitch.h"
#include "dashboard/DashboardViewController.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QSocketNotifier>
#include <QTimer>
#include <QUdpSocket>
#include <QVariantAnimation>

#include <cstdio>
#include <unistd.h>

namespace BenchDashboard {

void pair(DashboardViewController& dashboard, const QString& address, const QString& room)
{
    const quint32 ip = QHostAddress(address).toIPv4Address();
    dashboard.didPickCastingDeviceWithIP(
        address, QString::number(ip, 16).rightJustified(8, u'0'), room);
}

void setTouchback(DashboardViewController& dashboard, bool on)
{
    dashboard.wirelessTouchSwitch()->setChecked(on);
    dashboard.wirelessTouchSwitchToggled(dashboard.wirelessTouchSwitch());
}

bool touchSocketBound(DashboardViewController& dashboard)
{
    const QUdpSocket* socket = dashboard.sendUdpSocket();
    return socket && socket->state() == QAbstractSocket::BoundState;
}

bool switchSettled(DashboardViewController& dashboard)
{
    return dashboard.wirelessTouchSwitch()->layerAnimation()->state()
        == QAbstractAnimation::Stopped;
}

void printLine(const QByteArray& line)
{
    std::printf("%s\n", line.constData());
    std::fflush(stdout);
}

void announceReadyWhen(QObject* context, std::function<bool()> ready)
{
    auto* timer = new QTimer(context);
    QObject::connect(timer, &QTimer::timeout, context, [timer, ready = std::move(ready)] {
        if (!ready())
            return;
        timer->stop();
        printLine("ready");
    });
    timer->start(10);
}

void readCommands(QObject* context, std::function<void(const QByteArray& line)> handle)
{
    auto* input = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, context);
    QObject::connect(input, &QSocketNotifier::activated, context,
        [handle = std::move(handle), pending = QByteArray()]() mutable {
            char buffer[4096];
            const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
            if (n <= 0) {
                QCoreApplication::quit();
                return;
            }
            pending.append(buffer, n);
            for (qsizetype end; (end = pending.indexOf('\n')) >= 0; pending.remove(0, end + 1))
                handle(pending.left(end).trimmed());
        });
}

} // namespace BenchDashboard
