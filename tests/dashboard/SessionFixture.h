#pragma once

// Shared set-up of the session tests: a dashboard on the real widgets, paired with a receiver
// simulator on a loopback address of the test's own network namespace (whose default route gives
// this computer the address 10.99.0.2), alerts recorded, log and standard output captured.
#include "AlertRecorder.h"
#include "LogCapture.h"
#include "NetnsShell.h"
#include "SimProcess.h"
#include "StdoutCapture.h"

#include "app/MainStoryboard.h"
#include "controls/LayerView.h"
#include "controls/OrbSwitch.h"
#include "dashboard/DashboardViewController.h"
#include "platform/Fonts.h"

#include <QJsonObject>
#include <QTest>

#include <memory>

namespace session_test {

inline const QString kReceiverIp = QStringLiteral("127.0.0.1");
inline const QString kReceiverHex = QStringLiteral("7f000001");
inline const QString kReceiverName = QStringLiteral("Room 12");
inline const QString kLocalIp = QStringLiteral("10.99.0.2");

inline void setUpApplication()
{
    Fonts::loadApplicationFonts();
    MainStoryboard::registerControllers();
}

inline std::unique_ptr<DashboardViewController> makeDashboard()
{
    auto dashboard = std::make_unique<DashboardViewController>();
    dashboard->resize(900, 600);
    dashboard->show();
    return dashboard;
}

// The user turning the touchback switch on or off.
inline void toggleSwitch(DashboardViewController& dashboard, bool on)
{
    dashboard.wirelessTouchSwitch()->setChecked(on);
    dashboard.wirelessTouchSwitchToggled(dashboard.wirelessTouchSwitch());
}

// Logged requests to a path (the target up to "?").
inline QList<QJsonObject> requestsTo(const SimProcess& sim, const QString& path)
{
    QList<QJsonObject> result;
    for (const QJsonObject& request : sim.requests())
        if (request.value(QStringLiteral("target")).toString().section(QLatin1Char('?'), 0, 0)
            == path)
            result << request;
    return result;
}

inline int countLines(const LogCapture& log, const QString& text)
{
    return int(log.messages("orventa.dashboard").count(text));
}

inline int countStartingWith(const QByteArrayList& lines, const QByteArray& prefix)
{
    return int(std::count_if(lines.begin(), lines.end(),
        [&](const QByteArray& line) { return line.startsWith(prefix); }));
}

} // namespace session_test
