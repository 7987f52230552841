// Heartbeat supervision of the paired receiver: a ping every 4 s while touchback runs; the
// session ends on the second failed ping, on "CAST_OFF" and on "DEVICE_BUSY".
#include "DashboardViewController.h"

#include "platform/Alerts.h"
#include "platform/Logging.h"
#include "platform/MainQueue.h"
#include "platform/ModalState.h"
#include "receiver/PingServer.h"

#include <QPointer>
#include <QTimer>

#include <memory>

namespace {
constexpr std::int32_t kFailureLimit = 2;
std::chrono::milliseconds s_pingIntervalForTesting {0};
} // namespace

std::chrono::milliseconds DashboardViewController::pingInterval()
{
    return s_pingIntervalForTesting.count() > 0 ? s_pingIntervalForTesting : kPingInterval;
}

void DashboardViewController::setPingIntervalForTesting(std::chrono::milliseconds interval)
{
    s_pingIntervalForTesting = interval;
}

void DashboardViewController::startServerPing()
{
    if (m_pingTimer)
        return;
    qCInfo(lcDashboard) << "Starting server ping...";
    // Repeating, first tick one interval from now.
    m_pingTimer = new QTimer(this);
    m_pingTimer->setTimerType(Qt::PreciseTimer); // a coarse timer may tick 5 % early
    m_pingTimer->setInterval(pingInterval());
    connect(m_pingTimer, &QTimer::timeout, this, [this] {
        // Qt's timers keep firing inside a modal loop; the heartbeat must not. A tick that
        // falls inside a modal session is dropped, not made up later.
        if (ModalState::isActive())
            return;
        inititateServerPing(m_pingTimer);
    });
    m_pingTimer->start();
}

void DashboardViewController::stopServerPing()
{
    if (!m_pingTimer)
        return;
    qCInfo(lcDashboard) << "Stopping server ping...";
    m_pingTimer->stop();
    m_pingTimer->deleteLater();
    m_pingTimer = nullptr;
    m_serverPingFailedCount = 0;
}

void DashboardViewController::inititateServerPing(QTimer* timer)
{
    Q_UNUSED(timer)
    qCInfo(lcDashboard) << "Pinging...";
    if (m_serverPingFailedCount >= kFailureLimit)
        return;
    // The request keeps what it needs alive; this object serves one call.
    auto ping = std::make_unique<PingServer>();
    ping->pingServerHeartbeat(m_selectedDeviceIPAddress,
        [self = QPointer<DashboardViewController>(this)](bool success, const QString& reply) {
            if (self)
                self->pingFinished(success, reply);
        });
}

void DashboardViewController::pingFinished(bool success, const QString& reply)
{
    // Outcomes that touch the screen go through the main queue; the count is kept here, where
    // the answer arrives, and successes never lower it.
    QPointer<DashboardViewController> self(this);
    if (!success) {
        qCInfo(lcDashboard) << "Ping failed";
        if (++m_serverPingFailedCount != kFailureLimit)
            return;
        MainQueue::async([self] {
            if (!self)
                return;
            self->cleanUIAfterCastingOff();
            Alerts::run(QStringLiteral("Network error"),
                QStringLiteral("Touchback is disabled. Please check your network "
                               "connection and then retry."));
        });
        return;
    }
    if (reply == QLatin1String("CAST_OFF")) {
        MainQueue::async([self] {
            if (self)
                self->cleanUIAfterCastingOff();
        });
    } else if (reply == QLatin1String("DEVICE_BUSY")) {
        MainQueue::async([self] {
            if (!self)
                return;
            self->cleanUIAfterCastingOff();
            Alerts::run(QStringLiteral("Device busy"),
                QStringLiteral("Device is currently busy. Please try again."));
        });
    }
}
