// The dashboard paired with a receiver, uploading the files it is given through the drop area's
// path, for the AT-SPI check of the upload progress display (upload_progress_atspi.py).
//   upload_progress_atspi_app RECEIVER_ADDRESS FILE...
// Prints "ready" once the window is on screen and the uploads are on their way. The request's
// own lines (such as "Successfully uploaded") go to standard output as usual; an alert prints
// "alert: MESSAGE / TEXT" instead of opening. Ends when standard input closes.
#include "app/MainStoryboard.h"
#include "dashboard/DashboardViewController.h"
#include "platform/AlertPresenter.h"
#include "platform/Alerts.h"
#include "platform/Fonts.h"
#include "platform/StdoutLine.h"

#include <QApplication>
#include <QHostAddress>
#include <QSocketNotifier>
#include <QTimer>
#include <QUrl>

#include <unistd.h>

namespace {
class PrintingAlerts : public AlertPresenter
{
public:
    void present(const QString& message, const QString& informativeText) override
    {
        StdoutLine::print(QStringLiteral("alert: %1 / %2").arg(message, informativeText));
    }
};
} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("upload-progress-atspi-app"));
    if (argc < 3)
        return 2;
    Fonts::loadApplicationFonts();
    MainStoryboard::registerControllers();
    PrintingAlerts alerts;
    Alerts::setPresenter(&alerts);
    DashboardViewController dashboard;
    dashboard.resize(900, 600);
    dashboard.show();
    const QString receiver = QString::fromLocal8Bit(argv[1]);
    dashboard.didPickCastingDeviceWithIP(receiver,
        QString::number(QHostAddress(receiver).toIPv4Address(), 16).rightJustified(8, u'0'),
        QStringLiteral("Room 12"));
    for (int i = 2; i < argc; ++i)
        dashboard.uploadFileURL(QUrl::fromLocalFile(QString::fromLocal8Bit(argv[i])));
    QTimer::singleShot(0, &app, [] { StdoutLine::print("ready"); });

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [] {
        char buffer[256];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) <= 0)
            QCoreApplication::quit();
    });
    return app.exec();
}
