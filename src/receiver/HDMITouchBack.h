#pragma once

#include <QObject>
#include <QString>

#include <optional>

// Tells the paired receiver to start or stop sending touches to this computer.
//
// NOTE FOR IMPLEMENTERS: contract the dashboard codes against; extend, keep these signatures.
class HDMITouchBack : public QObject
{
    Q_OBJECT
public:
    explicit HDMITouchBack(QObject* parent = nullptr);

    // selectedDeviceIP empty optional = no receiver recorded (nil).
    void enableHDMITouchback(bool enable, bool fromHDMI,
                             const std::optional<QString>& selectedDeviceIP);
};
