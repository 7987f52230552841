// The dashboard as a user has it during a long day, for the soak run: the XTest poster, paired
// with a receiver, touchback on, the heartbeat at a given (short) interval. Alerts are logged to
// standard error instead of opening a modal box, so that nothing waits for a click.
//   soak-app RECEIVER_ADDRESS HEARTBEAT_MS
// Commands on standard input, one per line:
//   upload PATH   uploads the file as a drop would (after the usual short delay)
//   cycle         the touchback switch off, then on again on the next event loop pass
// Prints "ready" once the touch socket is bound; ends when standard input closes.
#include "controls/OrbSwitch.h"
#include "dashboard/DashboardViewController.h"
#include "platform/AlertPresenter.h"
#include "platform/Alerts.h"
#include "platform/x11/XTestEventPoster.h"

#include <QApplication>
#include <QHostAddress>
#include <QSocketNotifier>
#include <QTimer>
#include <QUdpSocket>
#include <QUrl>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {
class LoggingAlertPresenter final : public AlertPresenter
{
public:
    void present(const QString& message, const QString& informativeText) override
    {
        std::fprintf(stderr, "alert: %s / %s\n", qPrintable(message), qPrintable(informativeText));
    }
};

void toggle(DashboardViewController& dashboard, bool on)
{
    dashboard.wirelessTouchSwitch()->setChecked(on);
    dashboard.wirelessTouchSwitchToggled(dashboard.wirelessTouchSwitch());
}

void runCommand(DashboardViewController& dashboard, const QByteArray& line)
{
    if (line.startsWith("upload ")) {
        dashboard.uploadFileWithURL(
            QUrl::fromLocalFile(QString::fromLocal8Bit(line.mid(7).trimmed())));
    } else if (line == "cycle") {
        toggle(dashboard, false);
        QTimer::singleShot(0, &dashboard, [&dashboard] { toggle(dashboard, true); });
    } else if (!line.isEmpty()) {
        std::fprintf(stderr, "soak-app: unknown command %s\n", line.constData());
    }
}
} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: soak-app RECEIVER_ADDRESS HEARTBEAT_MS\n");
        return 2;
    }
    DashboardViewController::setPingIntervalForTesting(
        std::chrono::milliseconds(std::atoll(argv[2])));
    installXTestEventPoster();
    LoggingAlertPresenter alerts;
    Alerts::setPresenter(&alerts);
    DashboardViewController dashboard;
    dashboard.setGeometry(0, 0, 900, 600);
    dashboard.show();
    const QString receiver = QString::fromLocal8Bit(argv[1]);
    const quint32 ip = QHostAddress(receiver).toIPv4Address();
    dashboard.didPickCastingDeviceWithIP(
        receiver, QString::number(ip, 16).rightJustified(8, u'0'), QStringLiteral("Soak Room"));
    toggle(dashboard, true);

    QTimer readiness;
    QObject::connect(&readiness, &QTimer::timeout, &app, [&] {
        QUdpSocket* socket = dashboard.sendUdpSocket();
        if (socket && socket->state() == QAbstractSocket::BoundState) {
            readiness.stop();
            std::printf("ready\n");
            std::fflush(stdout);
        }
    });
    readiness.start(10);

    QByteArray pending;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char buffer[4096];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            QCoreApplication::quit();
            return;
        }
        pending.append(buffer, n);
        for (qsizetype end; (end = pending.indexOf('\n')) >= 0; pending.remove(0, end + 1))
            runCommand(dashboard, pending.left(end));
    });
    return app.exec();
}
