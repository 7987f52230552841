#include "receiver/HDMITouchBack.h"

#include "platform/FatalError.h"
#include "platform/StdoutLine.h"
#include "receiver/Describe.h"
#include "receiver/LocalAddress.h"
#include "receiver/ReceiverSession.h"

namespace {
QString flagWord(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}
} // namespace

HDMITouchBack::HDMITouchBack(QObject* parent)
    : QObject(parent)
{ }

QString HDMITouchBack::localWiFiAddress() const
{
    return LocalAddress::localWiFiAddress();
}

void HDMITouchBack::enableHDMITouchback(
    bool enable, bool fromHDMI, const std::optional<QString>& selectedDeviceIP)
{
    m_obtainedDeviceIP = selectedDeviceIP;
    const QString localAddress = localWiFiAddress();
    if (localAddress.isEmpty())
        return;
    // The receiver's menu is hidden exactly when touchback is switched off.
    m_enableHDMITouchback = flagWord(enable);
    m_hideMenu = flagWord(!enable);
    m_isHDMI = flagWord(fromHDMI);
    if (!selectedDeviceIP)
        fatalError(QStringLiteral("touchback request without a receiver address"));

    const auto url = ReceiverSession::parseUrl(QStringLiteral("http://") + *selectedDeviceIP
        + QStringLiteral(":5000/enableWifiTouchback?ip=") + localAddress
        + QStringLiteral("&enable=") + m_enableHDMITouchback.value_or(QString())
        + QStringLiteral("&hidemenu=") + m_hideMenu.value_or(QString()) + QStringLiteral("&isHDMI=")
        + m_isHDMI.value_or(QString()));
    if (!url)
        return;

    ReceiverReply* reply = ReceiverSession::shared()->get(*url, ReceiverSession::jsonHeaders());
    // The body is not looked at, but it is still read only up to its cap.
    connect(reply, &ReceiverReply::finished, reply, [reply] {
        if (reply->status())
            StdoutLine::print(Describe::optionalResponse(reply));
    });
}
