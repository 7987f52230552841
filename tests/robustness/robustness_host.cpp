// The session classes of the application in a process of their own, for the robustness tests:
// the dashboard with its real backends (XTest on the X display), paired with the receiver at
// ADDRESS, touchback switched on. Commands on standard input, one per line:
//   alert      open a modal alert (touches wait while it is up)
//   dismiss    close the alert
//   lag        print "lag max_ms=N" (the longest a 10 ms main-thread timer was late since the
//              last "lag") and start measuring anew
//   state      print "state touchback=0|1 socket=<state> ping=0|1"
//   rows       print "rows N", the rows of the receiver list (with "browse" only)
// Answers are lines starting "host: "; prints "host: ready" once the switch has been turned on.
//   robustness_host ADDRESS [PING_MS [browse]]
// browse: the receiver list browses the network through the Avahi daemon too.
#include "app/Backends.h"
#include "app/MainStoryboard.h"
#include "controls/OrbSwitch.h"
#include "dashboard/DashboardViewController.h"
#include "discovery/DeviceTableView.h"
#include "discovery/DevicesListViewController.h"
#include "platform/Alerts.h"
#include "platform/Fonts.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>
#include <QUdpSocket>
#include <QWidget>

#include <chrono>
#include <cstdio>
#include <memory>
#include <unistd.h>

namespace {

void say(const QByteArray& line)
{
    // Marked, as the request classes print their own lines on standard output too.
    std::fputs(("host: " + line + '\n').constData(), stdout);
    std::fflush(stdout);
}

// Measures how late a 10 ms timer on the main thread fires: a stall shows as lag.
class LagProbe : public QObject
{
public:
    LagProbe()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this,
            [this] { m_max = std::max(m_max, m_clock.restart() - 10); });
        m_clock.start();
        m_timer.start(10);
    }
    qint64 takeMax() { return std::exchange(m_max, 0); }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_max = 0;
};

void runCommand(const QByteArray& command, DashboardViewController& dashboard, LagProbe& lag,
    DevicesListViewController* list)
{
    if (command == "alert") {
        QTimer::singleShot(
            0, [] { Alerts::run(QStringLiteral("Robustness"), QStringLiteral("A modal alert")); });
        say("ok alert");
    } else if (command == "dismiss") {
        if (QWidget* modal = QApplication::activeModalWidget())
            modal->close();
        say("ok dismiss");
    } else if (command == "lag") {
        say("lag max_ms=" + QByteArray::number(lag.takeMax()));
    } else if (command == "state") {
        QUdpSocket* socket = dashboard.sendUdpSocket();
        say("state touchback=" + QByteArray::number(dashboard.isTouchBackEnabled())
            + " socket=" + QByteArray::number(socket ? int(socket->state()) : -1)
            + " ping=" + QByteArray::number(dashboard.pingTimer() != nullptr));
    } else if (command == "rows" && list) {
        say("rows " + QByteArray::number(list->devicesTableView()->numberOfRows()));
    } else {
        say("error: unknown command " + command);
    }
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: robustness_host ADDRESS [PING_MS [browse]]\n");
        return 2;
    }
    Fonts::loadApplicationFonts();
    MainStoryboard::registerControllers();
    Backends::installEventPoster();
    if (argc > 2)
        DashboardViewController::setPingIntervalForTesting(
            std::chrono::milliseconds(atoi(argv[2])));
    DashboardViewController dashboard;
    dashboard.resize(900, 600);
    dashboard.show();
    LagProbe lag;
    std::unique_ptr<DevicesListViewController> list;
    if (argc > 3 && qstrcmp(argv[3], "browse") == 0) {
        Backends::installServiceBrowser();
        list = std::make_unique<DevicesListViewController>();
        list->loadViewIfNeeded();
    }
    const QString address = QString::fromLocal8Bit(argv[1]);
    dashboard.didPickCastingDeviceWithIP(
        address, QStringLiteral("7f000001"), QStringLiteral("Room 12"));
    dashboard.wirelessTouchSwitch()->setChecked(true);
    dashboard.wirelessTouchSwitchToggled(dashboard.wirelessTouchSwitch());

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QByteArray pending;
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char buffer[256];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            QCoreApplication::quit();
            return;
        }
        pending.append(buffer, n);
        for (qsizetype nl; (nl = pending.indexOf('\n')) >= 0; pending.remove(0, nl + 1))
            runCommand(pending.left(nl).trimmed(), dashboard, lag, list.get());
    });
    say("ready");
    return app.exec();
}
