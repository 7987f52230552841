#pragma once

#include <QObject>
#include <QString>

#include <optional>

// Tells the paired receiver to start or stop sending touches to this computer. Made once by the
// dashboard and reused for every enable and disable; fire-and-forget (the answer is only printed).
class HDMITouchBack : public QObject
{
    Q_OBJECT
public:
    explicit HDMITouchBack(QObject* parent = nullptr);

    // selectedDeviceIP empty optional = no receiver recorded (nil).
    void enableHDMITouchback(
        bool enable, bool fromHDMI, const std::optional<QString>& selectedDeviceIP);

    // The state of the last request, kept as the flag words "true" / "false".
    std::optional<QString> obtainedDeviceIP() const { return m_obtainedDeviceIP; }
    void setObtainedDeviceIP(const std::optional<QString>& value) { m_obtainedDeviceIP = value; }
    std::optional<QString> enableHDMITouchbackValue() const { return m_enableHDMITouchback; }
    void setEnableHDMITouchbackValue(const std::optional<QString>& value)
    {
        m_enableHDMITouchback = value;
    }
    std::optional<QString> hideMenu() const { return m_hideMenu; }
    void setHideMenu(const std::optional<QString>& value) { m_hideMenu = value; }
    std::optional<QString> isHDMI() const { return m_isHDMI; }
    void setIsHDMI(const std::optional<QString>& value) { m_isHDMI = value; }

private:
    QString localWiFiAddress() const;

    std::optional<QString> m_obtainedDeviceIP = QString();
    std::optional<QString> m_enableHDMITouchback = QStringLiteral("true");
    std::optional<QString> m_hideMenu = QStringLiteral("true");
    std::optional<QString> m_isHDMI = QStringLiteral("true");
};
