// The touchback session: the switch, the cast button, the touch socket.
#include "DashboardViewController.h"

#include "ui_DashboardViewController.h"

#include "controls/DragDropView.h"
#include "controls/LayerView.h"
#include "controls/OrbSwitch.h"
#include "platform/Alerts.h"
#include "platform/Logging.h"
#include "receiver/HDMITouchBack.h"

#include <QHostAddress>
#include <QUdpSocket>

void DashboardViewController::wirelessTouchSwitchToggled(OrbSwitch* sender)
{
    qCInfo(lcDashboard) << "wirelessTouchSwitchToggled";
    if (sender->checked()) {
        initiateHDMITouchbackEnabled(true, true);
        startServerPing();
        m_fileUploadView->hide();
        ui->castButtonView->hide();
        ui->emptyStateImageView->hide();
        ui->hdmiMessageView->show();
        return;
    }
    initiateHDMITouchbackEnabled(false, true);
    stopServerPing();
    m_isFileUploadEnabled = acceptsUploads(m_selectedDeviceName);
    m_fileUploadView->show();
    ui->castButtonView->show();
    ui->emptyStateImageView->hide();
    ui->hdmiMessageView->hide();
}

void DashboardViewController::beginScreenCast()
{
    qCInfo(lcDashboard) << "beginScreenCast";
    if (!m_isCastingInProgress && m_selectedDeviceIPAddress) {
        Alerts::run(QStringLiteral("Touchback is enabled now."),
            QStringLiteral("To mirror the screen, please go to the AirPlay option on the "
                           "top menu bar and select the required AirPlay display device."
                           "\n\nNOTE: Make sure the screen calibration is done and your "
                           "mac and device are on the same network."));
        m_isCastingInProgress = true;
        initiateHDMITouchbackEnabled(true, false);
        startServerPing();
        ui->hdmiToggleView->hide();
        ui->castButtonView->setLayerContents(QStringLiteral("castingActive"));
        return;
    }
    ui->hdmiToggleView->show();
    initiateHDMITouchbackEnabled(false, false);
    stopScreenCast();
    showScreenCastStoppedMessage();
}

void DashboardViewController::stopScreenCast()
{
    qCInfo(lcDashboard) << "stopScreenCast";
    stopServerPing();
    if (m_sendUdpSocket)
        m_sendUdpSocket->close();
    m_isCastingInProgress = false;
    ui->castButtonView->setLayerContents(QStringLiteral("castingInactive"));
}

void DashboardViewController::showScreenCastStoppedMessage()
{
    Alerts::run(QStringLiteral("Touchback is disabled now."),
        QStringLiteral("If screen mirroring is ON and you don't need it anymore, please go "
                       "to the AirPlay option on the top menu bar and select 'Stop "
                       "AirPlay'."));
}

void DashboardViewController::initiateHDMITouchbackEnabled(bool enable, bool isHDMI)
{
    qCInfo(lcDashboard) << "initiateHDMITouchbackEnabled" << enable << isHDMI;
    if (enable)
        initiateTouchBack();
    m_hdmiTouchback->enableHDMITouchback(enable, isHDMI, m_selectedDeviceIPAddress);
}

// TODO(touchback): the touch socket on port 41863 is not opened yet.
void DashboardViewController::initiateTouchBack()
{
    qCInfo(lcDashboard) << "initiateTouchBack";
}

void DashboardViewController::closeTouchBack()
{
    qCInfo(lcDashboard) << "closeTouchBack";
    if (!m_sendUdpSocket)
        return;
    if (m_sendUdpSocket->state() != QAbstractSocket::UnconnectedState) {
        m_sendUdpSocket->close();
        stopScreenCast();
        showScreenCastStoppedMessage();
    }
}

// TODO(touchback): decoding the touch record and handing it to the mouse synthesiser.
void DashboardViewController::udpSocketDidReceiveData(
    QUdpSocket* socket, const QByteArray& data, const QHostAddress& fromAddress, quint16 fromPort)
{
    Q_UNUSED(socket)
    Q_UNUSED(fromAddress)
    Q_UNUSED(fromPort)
    qCInfo(lcDashboard) << "udpSocketDidReceiveData" << data.size();
}
