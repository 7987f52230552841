// The dashboard as a user has it during a long day, for the soak run: the XTest poster, paired
// with a receiver, touchback on, the heartbeat at a given (short) interval. Alerts are logged to
// standard error instead of opening a modal box, so that nothing waits for a click.
//   soak-app RECEIVER_ADDRESS HEARTBEAT_MS
// Commands on standard input, one per line:
//   upload PATH   uploads the file as a drop would (after the usual short delay)
//   cycle         the touchback switch off, then on again on the next event loop pass
// Prints "ready" once the touch socket is bound; ends when standard input closes.
#include "BenchDashboard.h"
#include "dashboard/DashboardViewController.h"
#include "platform/AlertPresenter.h"
#include "platform/Alerts.h"
#include "platform/x11/XTestEventPoster.h"

#include <QApplication>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {
class LoggingAlertPresenter final : public AlertPresenter
{
public:
    void present(const QString& message, const QString& informativeText) override
    {
        std::fprintf(stderr, "alert: %s / %s\n", qPrintable(message), qPrintable(informativeText));
    }
};

void runCommand(DashboardViewController& dashboard, const QByteArray& line)
{
    if (line.startsWith("upload ")) {
        dashboard.uploadFileWithURL(
            QUrl::fromLocalFile(QString::fromLocal8Bit(line.mid(7).trimmed())));
    } else if (line == "cycle") {
        BenchDashboard::setTouchback(dashboard, false);
        QTimer::singleShot(
            0, &dashboard, [&dashboard] { BenchDashboard::setTouchback(dashboard, true); });
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
    BenchDashboard::pair(dashboard, QString::fromLocal8Bit(argv[1]), QStringLiteral("Soak Room"));
    BenchDashboard::setTouchback(dashboard, true);
    BenchDashboard::announceReadyWhen(
        &app, [&] { return BenchDashboard::touchSocketBound(dashboard); });
    BenchDashboard::readCommands(
        &app, [&dashboard](const QByteArray& line) { runCommand(dashboard, line); });
    return app.exec();
}
